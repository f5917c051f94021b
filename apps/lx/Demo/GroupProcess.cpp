#include "lx/Demo/GroupProcess.h"

#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "LXUtils/Foundation/Clock.h"

#include "lx/ToolError.h"

namespace lx::tool {
namespace {

struct Pipe {
  int read = -1;
  int write = -1;

  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    read = ends[0];
    write = ends[1];
  }
  ~Pipe() {
    if (read >= 0) close(read);
    if (write >= 0) close(write);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int takeRead() { return std::exchange(read, -1); }
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> environmentWithoutOurs() {
  std::vector<std::string> kept;
  for (char** entry = environ; *entry; ++entry) {
    if (!std::string_view(*entry).starts_with("LX_")) kept.emplace_back(*entry);
  }
  return kept;
}

}  // namespace

Result<GroupProcess> GroupProcess::start(std::vector<std::string> arguments) {
  const auto failed = [] { return fail(ToolError{ToolError::Kind::demo, "Another process cannot be started"}); };
  Pipe output;
  Pipe log;
  if (output.write < 0 || log.write < 0) return failed();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output.write, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, log.write, STDERR_FILENO);
  arguments.insert(arguments.begin(), "lx");
  auto environment = environmentWithoutOurs();
  pid_t identifier = -1;
  const int error = posix_spawn(&identifier, "/proc/self/exe", &actions, nullptr, pointersTo(arguments).data(),
                                pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) return failed();
  return GroupProcess(identifier, output.takeRead(), log.takeRead());
}

GroupProcess::GroupProcess(pid_t identifier, int output, int log)
    : identifier_(identifier), streams_{{output, {}}, {log, {}}} {}

GroupProcess::GroupProcess(GroupProcess&& other) noexcept : identifier_(std::exchange(other.identifier_, -1)) {
  for (std::size_t index = 0; index < std::size(streams_); ++index) {
    streams_[index] = {std::exchange(other.streams_[index].descriptor, -1), std::move(other.streams_[index].text)};
  }
}

GroupProcess::~GroupProcess() {
  kill();
  reap();
  for (const auto& stream : streams_) {
    if (stream.descriptor >= 0) close(stream.descriptor);
  }
}

void GroupProcess::interrupt() {
  if (identifier_ > 0) ::kill(identifier_, SIGINT);
}

void GroupProcess::kill() {
  if (identifier_ > 0) ::kill(identifier_, SIGKILL);
}

std::optional<int> GroupProcess::reap() {
  int status = 0;
  if (identifier_ <= 0 || waitpid(std::exchange(identifier_, -1), &status, 0) < 0) return std::nullopt;
  return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}

// Reads what is there, or waits for it; false when both streams have ended or time is up.
bool GroupProcess::read(std::chrono::milliseconds timeout) {
  pollfd ready[] = {{streams_[0].descriptor, POLLIN, 0}, {streams_[1].descriptor, POLLIN, 0}};
  if (timeout.count() <= 0 || (ready[0].fd < 0 && ready[1].fd < 0)) return false;
  if (poll(ready, std::size(ready), static_cast<int>(timeout.count())) <= 0) return false;
  for (std::size_t index = 0; index < std::size(streams_); ++index) {
    if (ready[index].revents == 0) continue;
    char buffer[4096];
    const auto size = ::read(ready[index].fd, buffer, sizeof buffer);
    if (size > 0) {
      streams_[index].text.append(buffer, static_cast<std::size_t>(size));
    } else {
      close(std::exchange(streams_[index].descriptor, -1));
    }
  }
  return true;
}

bool GroupProcess::waitForLog(std::string_view text, std::chrono::milliseconds timeout) {
  const auto clock = Clock::system();
  const auto deadline = clock->steadyNow() + timeout;
  while (log().find(text) == std::string::npos) {
    if (!read(std::chrono::ceil<std::chrono::milliseconds>(deadline - clock->steadyNow()))) return false;
  }
  return true;
}

std::optional<int> GroupProcess::wait(std::chrono::milliseconds timeout) {
  const auto clock = Clock::system();
  const auto deadline = clock->steadyNow() + timeout;
  while (read(std::chrono::ceil<std::chrono::milliseconds>(deadline - clock->steadyNow()))) {
  }
  // Its streams end with it; whoever is still there is late.
  if (streams_[0].descriptor >= 0 || streams_[1].descriptor >= 0) kill();
  return reap();
}

}  // namespace lx::tool
