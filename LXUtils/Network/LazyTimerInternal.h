#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "LXUtils/Concurrency/EventLoopInternal.h"

namespace lx {

/// A timer on an event loop for a deadline that moves often and is rarely reached. Moving it to a later time touches
/// nothing: the loop's timer fires at the earlier one, and is set again then. On the loop's thread only.
class LazyTimer {
 public:
  using Deadline = EventLoop::Deadline;

  LazyTimer(EventLoop& loop, std::function<void()> fire) : loop_(loop), fire_(std::move(fire)) {}
  ~LazyTimer() { disarm(); }
  LazyTimer(const LazyTimer&) = delete;
  LazyTimer& operator=(const LazyTimer&) = delete;

  void set(Deadline deadline);
  void clear() { deadline_.reset(); }

 private:
  struct Armed {
    EventLoop::TimerID timer;
    Deadline deadline;
  };

  void arm();
  void disarm();
  void loopTimerFired();

  EventLoop& loop_;
  std::function<void()> fire_;
  std::optional<Deadline> deadline_;
  std::optional<Armed> armed_;
};

}  // namespace lx
