#pragma once

#include <mutex>
#include <utility>

namespace lx {

/// A value that is only touched under its lock.
template <class T>
class Protected {
 public:
  Protected() = default;
  explicit Protected(T value) : value_(std::move(value)) {}

  /// Runs `work` with the value, under the lock. The lock is not recursive.
  template <class F>
  decltype(auto) withLock(F&& work) {
    const std::lock_guard lock(mutex_);
    return std::forward<F>(work)(value_);
  }

  template <class F>
  decltype(auto) withLock(F&& work) const {
    const std::lock_guard lock(mutex_);
    return std::forward<F>(work)(value_);
  }

 private:
  mutable std::mutex mutex_;
  T value_{};
};

}  // namespace lx
