#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "LXUtils/Concurrency/Protected.h"

namespace lx {

/// Asks the system for time to finish something while the app goes to the background.
class BackgroundExecutor {
 public:
  using Identifier = std::uint64_t;

  virtual ~BackgroundExecutor() = default;

  /// Opens a task. When its time runs out, `expirationHandler` is called, at most once; it should end the task.
  virtual Identifier beginBackgroundTask(std::string name, std::function<void()> expirationHandler) = 0;

  /// Ends an open task, whose handler is not called from then on; without effect on a task that has ended.
  virtual void endBackgroundTask(Identifier identifier) = 0;
};

/// The executor where the system grants processes all the time they want: tasks expire when the app says so. Any
/// thread.
class BackgroundExecutorExtension final : public BackgroundExecutor {
 public:
  Identifier beginBackgroundTask(std::string name, std::function<void()> expirationHandler) override;
  void endBackgroundTask(Identifier identifier) override;

  /// Calls the expiration handlers of the open tasks on this thread, in the order in which they began. A task whose
  /// handler does not end it stays open.
  void expireAll();

  /// The names of the open tasks in the order in which they began.
  std::vector<std::string> openTasks() const;

 private:
  struct OpenTask {
    std::string name;
    std::function<void()> expirationHandler;
  };

  struct State {
    Identifier last = 0;
    std::map<Identifier, OpenTask> tasks;
  };

  Protected<State> state_;
};

}  // namespace lx
