#pragma once

#include <memory>
#include <vector>

#include "LXUtils/Concurrency/Protected.h"

namespace lx {

/// Weakly held listeners of one kind. Any thread.
template <class Listener>
class MulticastDelegate {
 public:
  /// Adding a listener again changes nothing.
  void add(std::weak_ptr<Listener> listener) {
    const auto added = listener.lock();
    if (!added) return;
    listeners_.withLock([&](auto& listeners) {
      for (const auto& known : listeners) {
        if (known.lock() == added) return;
      }
      listeners.push_back(std::move(listener));
    });
  }

  void remove(const Listener& listener) {
    listeners_.withLock([&](auto& listeners) {
      std::erase_if(listeners, [&](const auto& known) {
        const auto alive = known.lock();
        return !alive || alive.get() == &listener;
      });
    });
  }

  /// Calls `notify` with each listener that still lives, in the order in which they were added, outside the lock: a
  /// listener may add and remove listeners, which counts from the next call on.
  template <class F>
  void invoke(F&& notify) {
    std::vector<std::shared_ptr<Listener>> alive;
    listeners_.withLock([&](auto& listeners) {
      std::erase_if(listeners, [](const auto& known) { return known.expired(); });
      for (const auto& known : listeners) {
        if (auto listener = known.lock()) alive.push_back(std::move(listener));
      }
    });
    for (const auto& listener : alive) notify(*listener);
  }

 private:
  Protected<std::vector<std::weak_ptr<Listener>>> listeners_;
};

}  // namespace lx
