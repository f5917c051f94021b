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
    listeners_.withLock([&](auto& entries) {
      for (const auto& entry : entries) {
        if (entry.identity == added.get() && !entry.listener.expired()) return;
      }
      entries.push_back({added.get(), std::move(listener)});
    });
  }

  void remove(const Listener& listener) {
    listeners_.withLock([&](auto& entries) {
      std::erase_if(entries,
                    [&](const auto& entry) { return entry.identity == &listener || entry.listener.expired(); });
    });
  }

  /// Calls `notify` with each listener that still lives, in the order in which they were added, outside the lock: a
  /// listener may add and remove listeners, which counts from the next call on.
  template <class F>
  void invoke(F&& notify) {
    std::vector<std::shared_ptr<Listener>> alive;
    listeners_.withLock([&](auto& entries) {
      for (const auto& entry : entries) alive.push_back(entry.listener.lock());
      std::erase_if(entries, [](const auto& entry) { return entry.listener.expired(); });
    });
    std::erase(alive, nullptr);
    for (const auto& listener : alive) notify(*listener);
  }

 private:
  // The address tells listeners apart without a reference that might become the last one under the lock.
  struct Entry {
    const Listener* identity;
    std::weak_ptr<Listener> listener;
  };

  Protected<std::vector<Entry>> listeners_;
};

}  // namespace lx
