#pragma once

#include <atomic>
#include <memory>
#include <mutex>

namespace lx {

/// The number of forks that this process has seen, as the child, since the library was first used. A fork that bypasses
/// the C library's `fork` is not counted.
unsigned forkCount();

/// Tells a forked child which objects were made in its parent. Such an object has no threads, its mutexes may be locked
/// for ever, and what it has open is shared with the parent.
class ForkMark {
 public:
  bool isInherited() const { return forks_ != forkCount(); }

 private:
  unsigned forks_ = forkCount();
};

/// A static object of which each process has its own, made when it is first asked for and never destroyed. A forked
/// child gets a new one.
template <class T>
class PerProcess {
 public:
  constexpr PerProcess() = default;

  T& get() {
    Instance* current = instance_.load(std::memory_order_acquire);
    while (!current || current->mark.isInherited()) {
      auto fresh = std::make_unique<Instance>(current);
      if (instance_.compare_exchange_strong(current, fresh.get())) current = fresh.release();
    }
    return current->value;
  }

 private:
  struct Instance {
    explicit Instance(const Instance* before) : inherited(before) {}
    const Instance* inherited;  // the parent's, which stays reachable
    ForkMark mark;
    T value;
  };

  std::atomic<Instance*> instance_{nullptr};
};

/// The one T of the process, for as long as something owns it.
template <class T>
class SharedInstance {
 public:
  /// Returns the present one, or what `make` returns, which is called under a lock.
  template <class Make>
  std::shared_ptr<T> get(const Make& make) {
    auto& slot = slot_.get();
    const std::lock_guard lock(slot.mutex);
    auto instance = slot.current.lock();
    if (!instance) slot.current = instance = make();
    return instance;
  }

  std::shared_ptr<T> existing() {
    return get([] { return std::shared_ptr<T>(); });
  }

 private:
  struct Slot {
    std::mutex mutex;
    std::weak_ptr<T> current;
  };

  PerProcess<Slot> slot_;
};

}  // namespace lx
