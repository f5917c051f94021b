#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "LXUtils/Foundation/Result.h"

namespace lx::tool {

/// This program once more, as another process. What it writes is kept. It is killed and reaped with its object.
class GroupProcess {
 public:
  /// Starts with these arguments and without the LX_ variables of the environment. Errors: ToolError.
  static Result<GroupProcess> start(std::vector<std::string> arguments);

  GroupProcess(GroupProcess&& other) noexcept;
  GroupProcess& operator=(GroupProcess&&) = delete;
  ~GroupProcess();

  pid_t identifier() const { return identifier_; }

  /// Waits until `text` stands in what it wrote to standard error; false when it ends or time is up before.
  bool waitForLog(std::string_view text, std::chrono::milliseconds timeout);

  /// Waits for its end; the exit status, or nothing when a signal ended it or time is up.
  std::optional<int> wait(std::chrono::milliseconds timeout);

  /// SIGINT.
  void interrupt();

  /// SIGKILL.
  void kill();

  /// All that it has written so far, as far as it was waited for.
  const std::string& output() const { return streams_[0].text; }
  const std::string& log() const { return streams_[1].text; }

 private:
  struct Stream {
    int descriptor = -1;
    std::string text;
  };

  GroupProcess(pid_t identifier, int output, int log);

  bool read(std::chrono::milliseconds timeout);
  std::optional<int> reap();

  pid_t identifier_;
  Stream streams_[2];
};

}  // namespace lx::tool
