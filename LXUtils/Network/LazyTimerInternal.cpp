#include "LXUtils/Network/LazyTimerInternal.h"

#include "LXUtils/Foundation/ClockInternal.h"

namespace lx {

void LazyTimer::set(Deadline deadline) {
  deadline_ = deadline;
  if (armed_ && armed_->deadline <= deadline) return;
  disarm();
  arm();
}

void LazyTimer::arm() {
  armed_ = Armed{loop_.addTimer(*deadline_, [this] { loopTimerFired(); }), *deadline_};
}

void LazyTimer::disarm() {
  if (armed_) loop_.cancelTimer(armed_->timer);
  armed_.reset();
}

void LazyTimer::loopTimerFired() {
  armed_.reset();
  if (!deadline_) return;
  if (*deadline_ > systemSteadyNow()) {
    arm();
  } else {
    deadline_.reset();
    fire_();
  }
}

}  // namespace lx
