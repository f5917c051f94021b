#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "TemporaryFolder.h"

namespace lx {

/// What a run of the tool left: its exit status (-1 when a signal ended it) and what it wrote.
struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Runs the tool to its end, with nothing in its environment but these variables.
inline ToolRun runTool(std::vector<std::string> arguments, std::vector<std::string> variables = {}) {
  const TemporaryFolder folder;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder.file("err").c_str(), O_WRONLY | O_CREAT, 0600);
  arguments.insert(arguments.begin(), LX_TOOL);
  const auto pointersTo = [](std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  };
  pid_t identifier = -1;
  int status = 0;
  if (posix_spawn(&identifier, LX_TOOL, &actions, nullptr, pointersTo(arguments).data(),
                  pointersTo(variables).data()) != 0) {
    std::abort();
  }
  posix_spawn_file_actions_destroy(&actions);
  if (waitpid(identifier, &status, 0) < 0) std::abort();
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(folder.file("out")), contentsOf(folder.file("err"))};
}

}  // namespace lx
