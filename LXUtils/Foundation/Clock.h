#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "LXUtils/Foundation/Date.h"

namespace lx {

class DispatchQueue;

/// A scheduled piece of work that can be called off. Letting go of the handle does not call it off.
class Timer {
 public:
  Timer() = default;
  explicit Timer(std::function<void()> cancel) : cancel_(std::move(cancel)) {}

  /// The work will not be enqueued any more, unless it has been already.
  void cancel() {
    if (cancel_) std::exchange(cancel_, nullptr)();
  }

 private:
  std::function<void()> cancel_;
};

/// The one source of wall time, steady time and timers. Everything that needs time is given a clock, so that a whole
/// stack can run in virtual time.
class Clock {
 public:
  using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;
  using Duration = std::chrono::nanoseconds;
  using Work = std::move_only_function<void()>;

  virtual ~Clock() = default;

  virtual Date now() const = 0;

  /// Never goes back, and has no meaning but its differences.
  virtual SteadyTime steadyNow() const = 0;

  /// `now` + `delay`, or the latest time that can be represented if the sum is beyond it.
  static SteadyTime deadline(SteadyTime now, Duration delay);

  /// Enqueues `work` on `queue` once `delay` has passed; at once when the delay is not positive. If the system's clock
  /// cannot start its thread, the timer waits for it as work on a queue does; see `DispatchQueue::async`.
  virtual Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) = 0;

  /// The system's clock. It lives as long as someone holds it.
  static std::shared_ptr<Clock> system();
};

}  // namespace lx
