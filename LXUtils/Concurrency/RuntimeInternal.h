#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "LXUtils/Concurrency/EventLoopInternal.h"

namespace lx {

/// Threads that ended up being released by themselves, and so cannot be joined there. They are joined when the next
/// runtime starts or the process ends.
void joinLater(std::thread thread);
void joinEarlierThreads();

/// Two threads that run whatever is given to them, started when there is first something to run.
class WorkerPool {
 public:
  using Work = std::move_only_function<void()>;

  WorkerPool();
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  void run(Work work);

 private:
  static constexpr std::size_t threadCount = 2;

  // Shared with the threads, since the last owner of the pool may be one of them.
  struct Core {
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Work> work;
    std::size_t waiting = 0;
    bool stopped = false;
    void loop();
  };

  std::shared_ptr<Core> core_;
  std::vector<std::thread> threads_;
};

/// The threads of the process, owned together by the queues, sessions and clocks that use them: one for input, output
/// and timers, two for the serial queues. The last owner joins them.
class Runtime {
 public:
  static std::shared_ptr<Runtime> shared();

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

  Living living_;
  EventLoop eventLoop_;
  WorkerPool workers_;
};

}  // namespace lx
