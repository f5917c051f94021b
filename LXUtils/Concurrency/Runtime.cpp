#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Logging/Logger.h"

namespace lx {
namespace {

constexpr Logger logger("system");

class LateJoiner {
 public:
  void add(std::thread thread) {
    const std::lock_guard lock(mutex_);
    if (isExiting_) return thread.detach();  // nobody is left who could join it
    threads_.push_back(std::move(thread));
  }

  void runtimeBegins() {
    const std::lock_guard lock(mutex_);
    ++runtimes_;
  }
  void runtimeEnds() {
    const std::lock_guard lock(mutex_);
    --runtimes_;
    runtimeEnded_.notify_all();
  }

  void joinForExit(std::chrono::milliseconds longestWait) {
    {
      std::unique_lock lock(mutex_);
      runtimeEnded_.wait_for(lock, longestWait, [this] { return runtimes_ == 0; });
      isExiting_ = true;
    }
    joinAll();
  }

  void joinAll() {
    std::vector<std::thread> threads;
    {
      const std::lock_guard lock(mutex_);
      // Two that are on the list would wait for each other.
      if (std::ranges::count(threads_, std::this_thread::get_id(), &std::thread::get_id) > 0) return;
      threads.swap(threads_);
    }
    for (auto& thread : threads) thread.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable runtimeEnded_;
  std::vector<std::thread> threads_;
  int runtimes_ = 0;
  bool isExiting_ = false;
};

// A thread that ends the last runtime may come here while the process is exiting already.
LateJoiner& lateJoiner() {
  static constinit PerProcess<LateJoiner> joiner;
  return joiner.get();
}

SharedInstance<Runtime>& sharedRuntime() {
  static constinit SharedInstance<Runtime> runtime;
  return runtime;
}

// A session that was let go of just before the exit still closes its connections on the loop's thread, with libraries
// that take themselves down after this; and a runtime may be at its end on a thread of its own. A loop that is held up
// does not hold up the exit, nor does a runtime that something static still holds.
class EndAtExit {
 public:
  EndAtExit() = default;
  EndAtExit(const EndAtExit&) = delete;
  EndAtExit& operator=(const EndAtExit&) = delete;
  ~EndAtExit() {
    // What is closed there holds the runtime meanwhile, and may give the loop more to do.
    for (int round = 0; round < mostRounds; ++round) {
      const auto runtime = sharedRuntime().existing();
      if (!runtime || !runtime->eventLoop().waitForPosted(longestWait)) break;
    }
    lateJoiner().joinForExit(sharedRuntime().existing() ? std::chrono::milliseconds(0) : longestWait);
  }

 private:
  static constexpr std::chrono::milliseconds longestWait{1000};
  static constexpr int mostRounds = 20;
};

}  // namespace

void joinLater(std::thread thread) { lateJoiner().add(std::move(thread)); }
void joinEarlierThreads() { lateJoiner().joinAll(); }

Result<std::thread> startThread(std::function<void()> body) {
  try {
    return std::thread(std::move(body));
  } catch (const std::exception& error) {
    return fail(RuntimeError{RuntimeError::Kind::noThread, error.what()});
  }
}

void logCurrentException() noexcept {
  static constexpr const char* operation = "runContained(_:)";
  try {
    throw;
  } catch (const std::exception& error) {
    try {
      logger.log(4, "A callback ended with an exception", error.what(), operation);
    } catch (...) {
      return;  // not even the memory for the message is left
    }
  } catch (...) {
    logger.log(4, "A callback ended with an exception", operation);
  }
}

Runtime::Living::Living() { lateJoiner().runtimeBegins(); }
Runtime::Living::~Living() { lateJoiner().runtimeEnds(); }

WorkerPool::WorkerPool() : core_(std::make_shared<Core>()) {}

WorkerPool::~WorkerPool() {
  std::deque<Work> dropped;
  {
    const std::lock_guard lock(core_->mutex);
    core_->stopped = true;
    dropped.swap(core_->work);
  }
  core_->wake.notify_all();
  for (auto& thread : threads_) {
    if (thread.get_id() == std::this_thread::get_id()) {
      joinLater(std::move(thread));
    } else {
      thread.join();
    }
  }
}

Result<void> WorkerPool::start() {
  while (threads_.size() < threadCount) {
    auto thread = startThread([core = core_] { core->loop(); });
    if (!thread) return fail(thread.error());
    threads_.push_back(*std::move(thread));
  }
  return {};
}

void WorkerPool::run(Work work) {
  {
    const std::lock_guard lock(core_->mutex);
    core_->work.push_back(std::move(work));
  }
  core_->wake.notify_one();
}

void WorkerPool::Core::loop() {
  std::unique_lock lock(mutex);
  while (true) {
    wake.wait(lock, [this] { return stopped || !work.empty(); });
    if (stopped) return;
    Work next = std::move(work.front());
    work.pop_front();
    lock.unlock();
    runContained(next);
    next = nullptr;
    lock.lock();
  }
}

Result<void> Runtime::start() {
  if (isInherited()) return fail(RuntimeError{RuntimeError::Kind::forked, {}});
  if (isRunning_.load(std::memory_order_acquire)) return {};
  const std::lock_guard lock(startMutex_);
  if (isRunning_) return {};
  if (auto started = eventLoop_.start(); !started) return started;
  if (auto started = workers_.start(); !started) return started;
  isRunning_.store(true, std::memory_order_release);
  return {};
}

std::shared_ptr<Runtime> Runtime::shared() {
  static const EndAtExit endAtExit;
  // Before the lock: such a thread may ask for the runtime on its way out.
  joinEarlierThreads();
  return sharedRuntime().get([] {
    return std::shared_ptr<Runtime>(new Runtime, [](Runtime* runtime) {
      if (!runtime->isInherited()) delete runtime;
    });
  });
}

}  // namespace lx
