#include "LXUtils/Concurrency/OperationQueue.h"

#include <utility>

#include "LXUtils/Foundation/Clock.h"

namespace lx {
namespace {

thread_local bool isPumping = false;

}  // namespace

const std::shared_ptr<MainQueue>& MainQueue::shared() {
  static const auto queue = std::make_shared<MainQueue>();
  return queue;
}

void MainQueue::async(Work work) {
  {
    const std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }
  changed_.notify_all();
}

void MainQueue::sync(const std::function<void()>& work) {
  if (isPumping) return work();
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  async([&] {
    work();
    const std::lock_guard lock(mutex);
    done = true;
    finished.notify_one();
  });
  std::unique_lock lock(mutex);
  finished.wait(lock, [&] { return done; });
}

const std::string& MainQueue::label() const {
  static const std::string label = "main";
  return label;
}

bool MainQueue::runOne(std::unique_lock<std::mutex>& lock) {
  if (work_.empty()) return false;
  Work work = std::move(work_.front());
  work_.pop_front();
  lock.unlock();
  const bool outer = std::exchange(isPumping, true);
  work();
  work = nullptr;
  isPumping = outer;
  lock.lock();
  return true;
}

std::size_t MainQueue::drain() {
  std::size_t count = 0;
  std::unique_lock lock(mutex_);
  while (runOne(lock)) ++count;
  return count;
}

void MainQueue::pumpUntil(const std::atomic<bool>& done) {
  std::unique_lock lock(mutex_);
  while (!done) {
    if (!runOne(lock)) changed_.wait(lock, [&] { return done || !work_.empty(); });
  }
}

void MainQueue::run() {
  pumpUntil(stopped_);
  stopped_ = false;
}

void MainQueue::stop() {
  stopped_ = true;
  wake();
}

bool MainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto clock = Clock::system();
  const auto deadline = clock->steadyNow() + timeout;
  std::unique_lock lock(mutex_);
  while (true) {
    // `done` is looked at without the lock, so that a wake during the look must be remembered.
    const auto wakesBefore = wakes_;
    lock.unlock();
    const bool holds = done();
    lock.lock();
    if (holds) return true;
    if (clock->steadyNow() >= deadline) return false;
    if (!runOne(lock)) changed_.wait_until(lock, deadline, [&] { return wakes_ != wakesBefore || !work_.empty(); });
  }
}

void MainQueue::wake() {
  // Taken, so that the notification cannot fall between the pump's look and its wait.
  const std::lock_guard lock(mutex_);
  ++wakes_;
  changed_.notify_all();
}

}  // namespace lx
