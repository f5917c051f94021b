#pragma once

#include <cstddef>
#include <optional>

#include "LXUtils/Foundation/Clock.h"

namespace lx {

/// A clock in virtual time: it stands still until it is told to go on. Any thread.
class ManualClock final : public Clock {
 public:
  /// Where the wall time begins unless told otherwise.
  static constexpr Date defaultStart = std::chrono::sys_days{std::chrono::January / 15 / 2024} + std::chrono::hours(12);

  explicit ManualClock(Date start = defaultStart);
  ~ManualClock() override;

  Date now() const override;
  SteadyTime steadyNow() const override;
  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override;

  /// Lets `duration` pass. The work of the timers that come due is enqueued in the order of their deadlines, and of
  /// their making where those are equal; at that moment the clock shows the deadline. A timer that is made meanwhile
  /// and comes due within `duration` is one of them, but nothing waits for what was enqueued on a queue to run.
  void advance(Duration duration);

  /// Timers that are neither due nor cancelled.
  std::size_t pendingTimers() const;

  /// When the next of them comes due.
  std::optional<SteadyTime> nextDeadline() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace lx
