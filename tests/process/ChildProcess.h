#pragma once

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lx {

/// A program that a test starts and talks to by lines. It is killed with the test.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> command) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) < 0 || pipe2(output, O_CLOEXEC) < 0) std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    for (auto& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    if (posix_spawn(&id_, arguments.front(), &actions, nullptr, arguments.data(), environ) != 0) id_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    input_ = input[1];
    output_ = output[0];
  }
  ~ChildProcess() {
    kill();
    close(input_);
    close(output_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The next line without its end; "(ended)" when the child closed its output, "(late)" after `timeout`.
  std::string readLine(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
    while (true) {
      if (const auto end = unread_.find('\n'); end != std::string::npos) {
        std::string line = unread_.substr(0, end);
        unread_.erase(0, end + 1);
        return line;
      }
      if (!hasOutput(timeout)) return "(late)";
      char buffer[4096];
      const auto size = read(output_, buffer, sizeof buffer);
      if (size <= 0) return "(ended)";
      unread_.append(buffer, static_cast<std::size_t>(size));
    }
  }

  /// Asks the child to end, with SIGTERM.
  void terminate() { signal(SIGTERM); }

  /// Waits until the child has written more, or has ended; false when that takes longer than `timeout`.
  bool hasOutput(std::chrono::nanoseconds timeout) const {
    pollfd ready{.fd = output_, .events = POLLIN, .revents = 0};
    const auto seconds = std::chrono::floor<std::chrono::seconds>(timeout);
    const timespec limit{.tv_sec = seconds.count(), .tv_nsec = (timeout - seconds).count()};
    return ppoll(&ready, 1, &limit, nullptr) > 0;
  }

  /// Gives the child a line to read. A child that has ended gets nothing (and its parent SIGPIPE, unless ignored).
  void writeLine(std::string line) const {
    line += '\n';
    [[maybe_unused]] const auto written = write(input_, line.data(), line.size());
  }

  void signal(int number) const {
    if (id_ > 0) ::kill(id_, number);
  }

  /// Ends the child with SIGKILL and waits until it is gone.
  void kill() {
    if (id_ > 0) ::kill(id_, SIGKILL);
    wait();
  }

  /// Waits for the end; the exit status, or -1 when a signal ended it.
  int wait() {
    int status = 0;
    if (id_ <= 0 || waitpid(std::exchange(id_, -1), &status, 0) < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t id_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
};

}  // namespace lx
