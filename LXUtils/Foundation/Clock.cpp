#include "LXUtils/Foundation/Clock.h"

#include <mutex>

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/Foundation/ClockInternal.h"

namespace lx {
namespace {

class SystemClock final : public Clock {
 public:
  Date now() const override {
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
  }

  SteadyTime steadyNow() const override { return systemSteadyNow(); }

  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    if (delay <= Duration::zero()) {
      queue->async(std::move(work));
      return {};
    }
    const auto timer = runtime_->eventLoop().addTimer(
        steadyNow() + delay,
        [queue = std::move(queue), work = std::move(work)]() mutable { queue->async(std::move(work)); });
    return Timer([runtime = std::weak_ptr(runtime_), timer] {
      if (const auto alive = runtime.lock()) alive->eventLoop().cancelTimer(timer);
    });
  }

 private:
  std::shared_ptr<Runtime> runtime_ = Runtime::shared();
};

}  // namespace

Clock::SteadyTime systemSteadyNow() { return std::chrono::steady_clock::now(); }

std::shared_ptr<Clock> Clock::system() {
  static std::mutex mutex;
  static std::weak_ptr<Clock> current;
  const std::lock_guard lock(mutex);
  auto clock = current.lock();
  if (!clock) {
    clock = std::make_shared<SystemClock>();
    current = clock;
  }
  return clock;
}

}  // namespace lx
