#include <algorithm>
#include <chrono>
#include <utility>

#include "LXUtils/Concurrency/RuntimeInternal.h"

namespace lx {
namespace {

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

// Never destroyed: a thread that ends the last runtime may come here while the process is exiting already.
LateJoiner& lateJoiner() {
  static auto* const joiner = new LateJoiner;
  return *joiner;
}

// A session that was let go of just before the exit still closes its connections on the loop's thread, with libraries
// that take themselves down after this; and a runtime may be at its end on a thread of its own. A loop that is held up
// does not hold up the exit, nor does a runtime that something static still holds.
class EndAtExit {
 public:
  explicit EndAtExit(const std::weak_ptr<Runtime>& current) : current_(current) {}
  EndAtExit(const EndAtExit&) = delete;
  EndAtExit& operator=(const EndAtExit&) = delete;
  ~EndAtExit() {
    // What is closed there holds the runtime meanwhile, and may give the loop more to do.
    for (int round = 0; round < mostRounds; ++round) {
      const auto runtime = current_.lock();
      if (!runtime || !runtime->eventLoop().waitForPosted(longestWait)) break;
    }
    lateJoiner().joinForExit(current_.expired() ? longestWait : std::chrono::milliseconds(0));
  }

 private:
  static constexpr std::chrono::milliseconds longestWait{1000};
  static constexpr int mostRounds = 20;

  const std::weak_ptr<Runtime>& current_;
};

}  // namespace

void joinLater(std::thread thread) { lateJoiner().add(std::move(thread)); }
void joinEarlierThreads() { lateJoiner().joinAll(); }

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

void WorkerPool::run(Work work) {
  const std::lock_guard lock(core_->mutex);
  core_->work.push_back(std::move(work));
  if (core_->waiting >= core_->work.size()) {
    core_->wake.notify_one();
  } else if (threads_.size() < threadCount) {
    threads_.emplace_back([core = core_] { core->loop(); });
  } else {
    core_->wake.notify_one();
  }
}

void WorkerPool::Core::loop() {
  std::unique_lock lock(mutex);
  while (true) {
    while (work.empty() && !stopped) {
      ++waiting;
      wake.wait(lock);
      --waiting;
    }
    if (stopped) return;
    Work next = std::move(work.front());
    work.pop_front();
    lock.unlock();
    next();
    next = nullptr;
    lock.lock();
  }
}

std::shared_ptr<Runtime> Runtime::shared() {
  static std::mutex mutex;
  static std::weak_ptr<Runtime> current;
  static const EndAtExit endAtExit(current);
  // Outside the mutex: such a thread may ask for the runtime on its way out.
  joinEarlierThreads();
  const std::lock_guard lock(mutex);
  auto runtime = current.lock();
  if (!runtime) {
    runtime = std::make_shared<Runtime>();
    current = runtime;
  }
  return runtime;
}

}  // namespace lx
