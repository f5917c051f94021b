#pragma once

#include <memory>
#include <optional>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/BackgroundExecutor.h"

namespace lx {

/// The background task of one token request. It can expire or be ended at any time, also before its identifier is
/// known, and then ends only itself. Destroying it ends it without a message. Any thread.
class RefreshBackgroundTask {
 public:
  explicit RefreshBackgroundTask(std::shared_ptr<BackgroundExecutor> executor);
  ~RefreshBackgroundTask();
  RefreshBackgroundTask(const RefreshBackgroundTask&) = delete;
  RefreshBackgroundTask& operator=(const RefreshBackgroundTask&) = delete;

  /// Begins the task named "Token Refresh". Its expiration is logged and ends it, as long as the object lives.
  static void begin(const std::shared_ptr<RefreshBackgroundTask>& task);

  /// Ends the task. Logs "Unbalanced call to end background task" if it has ended, or has not begun.
  void end();

 private:
  struct State {
    std::optional<BackgroundExecutor::Identifier> identifier;
    bool hasExpired = false;
    bool hasEnded = false;
  };

  void expire();

  const std::shared_ptr<BackgroundExecutor> executor_;
  const Logger logger_ = Logger::oauth2;
  Protected<State> state_;
};

}  // namespace lx
