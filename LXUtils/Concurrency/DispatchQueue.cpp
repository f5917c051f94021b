#include "LXUtils/Concurrency/DispatchQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "LXUtils/Concurrency/RuntimeInternal.h"

namespace lx {
namespace {

// The queue belongs to nobody, to the pool (a worker will come for it), or to a thread that runs its work. A caller of
// sync waits for a running thread alone: what the pool has only promised to run, the caller runs itself, since all
// workers may be waiting in calls of sync as well. For the same reason a thread that has to give the queue back with
// callers of sync waiting gives it to the first of them, not to the pool.
class SerialQueue final : public DispatchQueue, public std::enable_shared_from_this<SerialQueue> {
 public:
  explicit SerialQueue(std::string label) : label_(std::move(label)) {}

  Result<void> ensureRunning() override { return runtime_->start(); }

  void async(Work work) override {
    // Without threads the work waits for them, except in a forked child, where its tasks are cancelled.
    if (!ensureRunning() && runtime_->isInherited()) return;
    {
      const std::lock_guard lock(mutex_);
      entries_.push_back({std::move(work), nullptr});
      if (owner_ != Owner::nobody) return;
      owner_ = Owner::pool;
    }
    scheduleRun();
  }

  void sync(const std::function<void()>& work) override {
    // In a forked child, the thread that had the queue in the parent does not give it back.
    if (isOnThisThread() || runtime_->isInherited()) return work();
    takeTurn();
    const GiveBack afterWork(*this);
    const Frame frame(this);
    work();
  }

  const std::string& label() const override { return label_; }

 private:
  enum class Owner { nobody, pool, thread };

  // A caller of sync that waits for the queue.
  struct Turn {
    std::condition_variable arrived;
    bool mine = false;
  };

  struct Entry {
    Work work;
    Turn* turn;
  };

  // The queues whose work the thread is in, the innermost first.
  struct Frame {
    explicit Frame(const SerialQueue* current) : queue(current), outer(std::exchange(innermost_, this)) {}
    ~Frame() { innermost_ = outer; }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    const SerialQueue* queue;
    const Frame* outer;
  };

  struct GiveBack {
    explicit GiveBack(SerialQueue& owned) : queue(owned) {}
    ~GiveBack() { queue.giveBack(); }
    GiveBack(const GiveBack&) = delete;
    GiveBack& operator=(const GiveBack&) = delete;
    SerialQueue& queue;
  };

  // So many pieces of work are run before another queue gets the worker.
  static constexpr int batchSize = 64;

  bool isOnThisThread() const {
    for (const Frame* frame = innermost_; frame; frame = frame->outer) {
      if (frame->queue == this) return true;
    }
    return false;
  }

  void runQueued(Work& work) {
    const Frame frame(this);
    runContained(work);
    work = nullptr;
  }

  void scheduleRun() {
    runtime_->workers().run([self = shared_from_this()] { self->runBatch(); });
  }

  // Returns when the queue belongs to this thread and all earlier work is done.
  void takeTurn() {
    Turn turn;
    std::unique_lock lock(mutex_);
    entries_.push_back({{}, &turn});
    if (std::exchange(owner_, Owner::thread) == Owner::thread) {
      turns_.push_back(&turn);
      turn.arrived.wait(lock, [&] { return turn.mine; });
    }
    while (true) {
      Entry entry = std::move(entries_.front());
      entries_.pop_front();
      if (entry.turn == &turn) return;
      lock.unlock();
      runQueued(entry.work);
      lock.lock();
    }
  }

  void runBatch() {
    {
      const std::lock_guard lock(mutex_);
      if (owner_ != Owner::pool) return;  // a caller of sync was quicker
      owner_ = Owner::thread;
    }
    Work work;
    for (int i = 0; i < batchSize && nextWork(work); ++i) runQueued(work);
    giveBack();
  }

  // The next piece of work, as long as no caller of sync is next.
  bool nextWork(Work& work) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty() || entries_.front().turn) return false;
    work = std::move(entries_.front().work);
    entries_.pop_front();
    return true;
  }

  void giveBack() {
    {
      const std::lock_guard lock(mutex_);
      if (!turns_.empty()) {
        turns_.front()->mine = true;
        turns_.front()->arrived.notify_one();
        turns_.pop_front();
        return;
      }
      owner_ = entries_.empty() ? Owner::nobody : Owner::pool;
      if (owner_ == Owner::nobody) return;
    }
    scheduleRun();
  }

  inline static thread_local const Frame* innermost_ = nullptr;

  const std::string label_;
  const std::shared_ptr<Runtime> runtime_ = Runtime::shared();
  std::mutex mutex_;
  std::deque<Entry> entries_;
  std::deque<Turn*> turns_;  // the callers of sync among the entries, in their order
  Owner owner_ = Owner::nobody;
};

}  // namespace

QueueRef DispatchQueue::makeSerial(std::string label, QualityOfService) {
  return std::make_shared<SerialQueue>(std::move(label));
}

}  // namespace lx
