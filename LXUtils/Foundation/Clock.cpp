#include "LXUtils/Foundation/Clock.h"

#include <utility>

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Foundation/ClockInternal.h"

namespace lx {
namespace {

class SystemClock final : public Clock {
 public:
  explicit SystemClock(std::shared_ptr<Runtime> runtime) : runtime_(std::move(runtime)) {}

  Date now() const override {
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
  }

  SteadyTime steadyNow() const override { return systemSteadyNow(); }

  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    if (delay <= Duration::zero()) {
      queue->async(std::move(work));
      return {};
    }
    // Without threads the timer waits for them, except in a forked child, where the tasks of its work are cancelled.
    if (!runtime_->start() && runtime_->isInherited()) return {};
    const auto timer = runtime_->eventLoop().addTimer(
        deadline(steadyNow(), delay),
        [queue = std::move(queue), work = std::move(work)]() mutable { queue->async(std::move(work)); });
    return Timer([runtime = std::weak_ptr(runtime_), timer] {
      if (const auto alive = runtime.lock()) alive->eventLoop().cancelTimer(timer);
    });
  }

 private:
  const std::shared_ptr<Runtime> runtime_;
};

}  // namespace

Clock::SteadyTime systemSteadyNow() { return std::chrono::steady_clock::now(); }

Clock::SteadyTime Clock::deadline(SteadyTime now, Duration delay) {
  return delay > SteadyTime::max() - now ? SteadyTime::max() : now + delay;
}

std::shared_ptr<Clock> Clock::system() {
  static constinit SharedInstance<Clock> clock;
  // Before the lock: earlier threads are joined there, which may ask for the clock on their way out.
  auto runtime = Runtime::shared();
  return clock.get([&] { return std::make_shared<SystemClock>(std::move(runtime)); });
}

}  // namespace lx
