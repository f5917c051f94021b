#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "LXUtils/Concurrency/ForkInternal.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// One thread that waits for file descriptors and deadlines. What is queued before it has started waits for it. In a
/// forked child, the operations of an inherited loop have no effect, and what is queued is kept, neither run nor
/// destroyed.
class EventLoop {
 public:
  using Work = std::move_only_function<void()>;
  using TimerID = std::uint64_t;
  using Deadline = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Starts the thread unless it runs. Not to be called by two threads at once. Errors: RuntimeError.
  Result<void> start();

  /// Runs `work` on the loop's thread. Any thread. What is queued when the loop ends is destroyed on the ending thread.
  void post(Work work);

  /// As `post`; when called on the loop's thread, `work` runs at once.
  void perform(Work work);

  /// Waits until everything posted so far has run, no longer than `limit`; false when it has not. Does not wait on the
  /// loop's own thread, or when the loop has not started.
  bool waitForPosted(std::chrono::milliseconds limit);

  /// Runs `work` on the loop's thread at the deadline. Any thread.
  TimerID addTimer(Deadline deadline, Work work);
  void cancelTimer(TimerID timer);

  /// Calls `handler` with the epoll events of `fd`. Watching a watched descriptor again replaces events and handler.
  /// On the loop's thread only.
  void watch(int fd, std::uint32_t events, std::function<void(std::uint32_t)> handler);
  void unwatch(int fd);

  bool isOnLoopThread() const;

 private:
  struct Core;

  const ForkMark mark_;
  std::shared_ptr<Core> core_;
  std::thread thread_;
};

}  // namespace lx
