#include "LXTesting/ManualClock.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "LXUtils/Concurrency/DispatchQueue.h"

namespace lx {

// Shared with the handles of the timers, which may outlive the clock.
struct ManualClock::State {
  struct Pending {
    QueueRef queue;
    Work work;
  };
  using Key = std::pair<SteadyTime, std::uint64_t>;

  std::mutex mutex;
  Date start;
  SteadyTime steady{};
  std::uint64_t lastTimer = 0;
  std::map<Key, Pending> timers;
};

ManualClock::ManualClock(Date start) : state_(std::make_shared<State>()) { state_->start = start; }

ManualClock::~ManualClock() = default;

Date ManualClock::now() const {
  const std::lock_guard lock(state_->mutex);
  return state_->start + std::chrono::floor<Date::duration>(state_->steady.time_since_epoch());
}

Clock::SteadyTime ManualClock::steadyNow() const {
  const std::lock_guard lock(state_->mutex);
  return state_->steady;
}

Timer ManualClock::after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) {
  if (delay <= Duration::zero()) {
    queue->async(std::move(work));
    return {};
  }
  const std::lock_guard lock(state_->mutex);
  const State::Key key{deadline(state_->steady, delay), ++state_->lastTimer};
  state_->timers.emplace(key, State::Pending{std::move(queue), std::move(work)});
  return Timer([weak = std::weak_ptr(state_), key] {
    const auto state = weak.lock();
    if (!state) return;
    std::map<State::Key, State::Pending>::node_type cancelled;  // destroyed after the lock: its work may call back
    const std::lock_guard stateLock(state->mutex);
    cancelled = state->timers.extract(key);
  });
}

void ManualClock::advance(Duration duration) {
  std::unique_lock lock(state_->mutex);
  const SteadyTime target = deadline(state_->steady, duration);
  while (!state_->timers.empty() && state_->timers.begin()->first.first <= target) {
    auto due = state_->timers.extract(state_->timers.begin());
    state_->steady = std::max(state_->steady, due.key().first);
    lock.unlock();
    due.mapped().queue->async(std::move(due.mapped().work));
    lock.lock();
  }
  state_->steady = std::max(state_->steady, target);
}

std::size_t ManualClock::pendingTimers() const {
  const std::lock_guard lock(state_->mutex);
  return state_->timers.size();
}

std::optional<Clock::SteadyTime> ManualClock::nextDeadline() const {
  const std::lock_guard lock(state_->mutex);
  if (state_->timers.empty()) return std::nullopt;
  return state_->timers.begin()->first.first;
}

}  // namespace lx
