#include "LXUtils/Concurrency/DispatchQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "LXUtils/Concurrency/RuntimeInternal.h"

namespace lx {
namespace {

class SerialQueue final : public DispatchQueue, public std::enable_shared_from_this<SerialQueue> {
 public:
  explicit SerialQueue(std::string label) : label_(std::move(label)) {}

  void async(Work work) override {
    {
      const std::lock_guard lock(mutex_);
      entries_.push_back({std::move(work), nullptr});
      if (std::exchange(busy_, true)) return;
    }
    scheduleRun();
  }

  void sync(const std::function<void()>& work) override {
    if (current_ == this) return work();
    Turn turn;
    {
      std::unique_lock lock(mutex_);
      if (std::exchange(busy_, true)) {
        entries_.push_back({{}, &turn});
        turn.arrived.wait(lock, [&] { return turn.mine; });
      }
    }
    runAsCurrent(work);
    passOn();
  }

  const std::string& label() const override { return label_; }

 private:
  // A caller of sync that waits until the queue is its own.
  struct Turn {
    std::condition_variable arrived;
    bool mine = false;
  };

  struct Entry {
    Work work;
    Turn* turn;
  };

  // So many pieces of work are run before another queue gets the worker.
  static constexpr int batchSize = 64;

  template <class F>
  void runAsCurrent(F& work) {
    const SerialQueue* const outer = std::exchange(current_, this);
    work();
    current_ = outer;
  }

  void scheduleRun() {
    runtime_->workers().run([self = shared_from_this()] { self->runBatch(); });
  }

  // The next entry, or nothing when the queue is free again or belongs to a waiting caller of sync from here on.
  bool next(Work& work) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty()) {
      busy_ = false;
      return false;
    }
    Entry entry = std::move(entries_.front());
    entries_.pop_front();
    if (entry.turn) {
      entry.turn->mine = true;
      entry.turn->arrived.notify_one();
      return false;
    }
    work = std::move(entry.work);
    return true;
  }

  void runBatch() {
    Work work;
    for (int i = 0; i < batchSize; ++i) {
      if (!next(work)) return;
      runAsCurrent(work);
      work = nullptr;
    }
    scheduleRun();
  }

  // Gives the queue back after sync: to the next caller of sync, or to a worker if there is work.
  void passOn() {
    {
      const std::lock_guard lock(mutex_);
      if (entries_.empty()) {
        busy_ = false;
        return;
      }
      if (Turn* const turn = entries_.front().turn) {
        entries_.pop_front();
        turn->mine = true;
        turn->arrived.notify_one();
        return;
      }
    }
    scheduleRun();
  }

  inline static thread_local const SerialQueue* current_ = nullptr;

  const std::string label_;
  const std::shared_ptr<Runtime> runtime_ = Runtime::shared();
  std::mutex mutex_;
  std::deque<Entry> entries_;
  bool busy_ = false;
};

}  // namespace

QueueRef DispatchQueue::makeSerial(std::string label, QualityOfService) {
  return std::make_shared<SerialQueue>(std::move(label));
}

}  // namespace lx
