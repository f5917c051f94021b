#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "LXUtils/Concurrency/EventLoopInternal.h"
#include "LXUtils/Concurrency/ForkInternal.h"
#include "LXUtils/Concurrency/RuntimeError.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Threads that ended up being released by themselves, and so cannot be joined there. They are joined when the next
/// runtime starts or the process ends.
void joinLater(std::thread thread);
void joinEarlierThreads();

/// Returns a thread that runs `body`. Errors: RuntimeError noThread.
Result<std::thread> startThread(std::function<void()> body);

/// Logs the exception that is being handled.
void logCurrentException() noexcept;

/// Calls `work` on a thread of the library, which no exception leaves: it is logged, and the thread goes on.
template <class Work>
void runContained(Work& work) noexcept {
  try {
    work();
  } catch (...) {
    logCurrentException();
  }
}

/// Two threads that run whatever is given to them.
class WorkerPool {
 public:
  using Work = std::move_only_function<void()>;

  WorkerPool();
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Starts the threads that do not run yet. Not to be called by two threads at once. Errors: RuntimeError noThread.
  Result<void> start();

  /// Queues `work`, which waits for as long as no thread runs.
  void run(Work work);

 private:
  static constexpr std::size_t threadCount = 2;

  // Shared with the threads, since the last owner of the pool may be one of them.
  struct Core {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Work> work;
    bool stopped = false;
    void loop();
  };

  std::shared_ptr<Core> core_;
  std::vector<std::thread> threads_;
};

/// The threads of the process, owned together by the queues, sessions and clocks that use them: one for input, output
/// and timers, two for the serial queues. The last owner joins them.
///
/// A runtime that a forked child inherits is never destroyed there. What it has open is its parent's, too.
class Runtime {
 public:
  static std::shared_ptr<Runtime> shared();

  /// Starts all threads unless they run. What was queued for them before then runs. Any thread. Errors: RuntimeError,
  /// after which a later call tries again.
  Result<void> start();

  /// True in a forked child, when the runtime was made in the parent. Nothing that is queued runs.
  bool isInherited() const { return mark_.isInherited(); }

  EventLoop& eventLoop() { return eventLoop_; }
  WorkerPool& workers() { return workers_; }

 private:
  /// Counts it until its threads have ended or wait to be joined.
  struct Living {
    Living();
    ~Living();
    Living(const Living&) = delete;
    Living& operator=(const Living&) = delete;
  };

  const ForkMark mark_;
  Living living_;
  EventLoop eventLoop_;
  WorkerPool workers_;
  std::mutex startMutex_;
  std::atomic<bool> isRunning_{false};
};

}  // namespace lx
