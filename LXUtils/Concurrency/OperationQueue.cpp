#include "LXUtils/Concurrency/OperationQueue.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include <pthread.h>

#include "LXUtils/Foundation/Clock.h"

namespace lx {
namespace {

thread_local bool isPumping = false;

}  // namespace

struct MainQueue::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Work> work;
  std::uint64_t wakes = 0;
  std::atomic<bool> stopped{false};

  // A fork waits for the mutex, which would otherwise stay locked in the child for ever if another thread had it. The
  // child's queue has no waiters.
  inline static std::atomic<State*> ofProcess{nullptr};
  static void beforeFork() {
    if (State* const state = ofProcess) state->mutex.lock();
  }
  static void afterForkInParent() {
    if (State* const state = ofProcess) state->mutex.unlock();
  }
  static void afterForkInChild() {
    if (State* const state = ofProcess) std::construct_at(&state->changed);
    afterForkInParent();
  }

  /// Runs the first piece of work, if there is one, with `lock` let go of meanwhile.
  bool runOne(std::unique_lock<std::mutex>& lock) {
    if (work.empty()) return false;
    Work first = std::move(work.front());
    work.pop_front();
    lock.unlock();
    const bool outer = std::exchange(isPumping, true);
    first();
    first = nullptr;
    isPumping = outer;
    lock.lock();
    return true;
  }
};

MainQueue::MainQueue() : state_(std::make_unique<State>()) {}
MainQueue::~MainQueue() {
  State* mine = state_.get();
  State::ofProcess.compare_exchange_strong(mine, nullptr);
}

const std::shared_ptr<MainQueue>& MainQueue::shared() {
  static const auto queue = [] {
    auto made = std::make_shared<MainQueue>();
    State::ofProcess = made->state_.get();
    pthread_atfork(State::beforeFork, State::afterForkInParent, State::afterForkInChild);
    return made;
  }();
  return queue;
}

void MainQueue::async(Work work) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->work.push_back(std::move(work));
  }
  state_->changed.notify_all();
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

std::size_t MainQueue::drain() {
  std::size_t count = 0;
  std::unique_lock lock(state_->mutex);
  while (state_->runOne(lock)) ++count;
  return count;
}

void MainQueue::pumpUntil(const std::atomic<bool>& done) {
  const detail::ContinuationNesting::Wait wait;
  std::unique_lock lock(state_->mutex);
  while (!done) {
    if (!state_->runOne(lock)) state_->changed.wait(lock, [&] { return done || !state_->work.empty(); });
  }
}

void MainQueue::run() {
  pumpUntil(state_->stopped);
  state_->stopped = false;
}

void MainQueue::stop() {
  state_->stopped = true;
  wake();
}

bool MainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto clock = Clock::system();
  const auto longest = std::chrono::floor<std::chrono::milliseconds>(Clock::Duration::max());
  const auto deadline = Clock::deadline(clock->steadyNow(), std::min(timeout, longest));
  const detail::ContinuationNesting::Wait wait;
  std::unique_lock lock(state_->mutex);
  while (true) {
    // `done` is looked at without the lock, so that a wake during the look must be remembered.
    const auto wakesBefore = state_->wakes;
    lock.unlock();
    const bool holds = done();
    lock.lock();
    if (holds) return true;
    if (clock->steadyNow() >= deadline) return false;
    if (!state_->runOne(lock))
      state_->changed.wait_until(lock, deadline, [&] { return state_->wakes != wakesBefore || !state_->work.empty(); });
  }
}

void MainQueue::wake() {
  // Taken, so that the notification cannot fall between the pump's look and its wait.
  const std::lock_guard lock(state_->mutex);
  ++state_->wakes;
  state_->changed.notify_all();
}

}  // namespace lx
