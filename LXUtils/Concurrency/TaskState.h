#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why a task ended without its producer's answer.
struct TaskError {
  /// The task was cancelled, or its producer was destroyed.
  static const TaskError cancelled;

  std::string typeName() const { return "TaskError.cancelled"; }
  std::string description() const { return "The operation was cancelled"; }
  bool operator==(const TaskError&) const = default;
};
inline const TaskError TaskError::cancelled{};

namespace detail {

// The result of every task whose producer was destroyed. Copying it takes no memory.
const Error& cancellation();

// Bounds how deep continuations are nested on a thread. Those that would be nested deeper run as soon as the innermost
// one returns: a chain of any length needs a bounded stack.
class ContinuationNesting {
 public:
  // Runs `work` now or, at the limit, after the innermost continuation. An exception of `work` is logged.
  template <class Work>
  static void run(Work work) noexcept {
    auto& nesting = ofThisThread();
    if (nesting.depth_ == limit && nesting.defer(work)) return;
    ++nesting.depth_;
    contain(work);
    if (nesting.depth_ == limit && !nesting.deferred_.empty()) nesting.runDeferred();
    --nesting.depth_;
  }

  template <class Work>
  static void contain(Work& work) noexcept {
    try {
      work();
    } catch (...) {
      logException();
    }
  }

  // A continuation that waits on its own thread runs what is deferred first, and defers nothing meanwhile.
  class Wait {
   public:
    Wait();
    ~Wait() { ofThisThread().depth_ = outerDepth_; }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

   private:
    const int outerDepth_;
  };

 private:
  static constexpr int limit = 50;

  static ContinuationNesting& ofThisThread();
  static void logException() noexcept;

  // Without memory to defer it, `work` stays as it is.
  template <class Work>
  bool defer(Work& work) noexcept {
    try {
      deferred_.emplace_back(std::move(work));
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  void runDeferred() noexcept;

  int depth_ = 0;
  std::vector<std::move_only_function<void()>> deferred_;
};

// A completed task's result: it passes from task to task without a copy.
template <class T>
using SharedResult = std::shared_ptr<const Result<T>>;

template <class T>
class TaskState : public std::enable_shared_from_this<TaskState<T>> {
 public:
  using Continuation = std::move_only_function<void(const SharedResult<T>&)>;

  void complete(Result<T> result) {
    completeWith([&] { own_.emplace(std::move(result)); });
  }

  void completeAs(const SharedResult<T>& other) {
    completeWith([&] { source_ = other; });
  }

  // Completes the task as cancelled without calling the cancel handler.
  void abandon() {
    completeWith([&] { own_.emplace(fail(cancellation())); });
  }

  // Completes the task as cancelled and calls the cancel handler, in this order; neither if the task has completed.
  void cancel() {
    std::move_only_function<void()> handler;
    completeWith([&] {
      own_.emplace(fail(cancellation()));
      isCancelled_ = true;
      handler = std::move(cancelHandler_);
    });
    if (handler) ContinuationNesting::run(std::move(handler));
  }

  void onCancel(std::move_only_function<void()> handler) {
    {
      const std::lock_guard lock(mutex_);
      if (!isCancelled_) {
        if (!isCompletedLocked()) cancelHandler_.swap(handler);
        return;
      }
    }
    handler();
  }

  bool isCompleted() const {
    const std::lock_guard lock(mutex_);
    return isCompletedLocked();
  }

  void whenCompleted(Continuation continuation) {
    {
      const std::lock_guard lock(mutex_);
      if (!isCompletedLocked()) {
        continuations_.push_back(std::move(continuation));
        return;
      }
    }
    ContinuationNesting::run(
        [continuation = std::move(continuation), result = shared()]() mutable { continuation(result); });
  }

  std::optional<Result<T>> result() const {
    const std::lock_guard lock(mutex_);
    if (own_) return own_;
    return source_ ? std::optional(*source_) : std::nullopt;
  }

 private:
  template <class SetResult>
  void completeWith(const SetResult& setResult) {
    std::vector<Continuation> continuations;
    std::move_only_function<void()> unused;
    {
      const std::lock_guard lock(mutex_);
      if (isCompletedLocked()) return;
      setResult();
      continuations.swap(continuations_);
      unused = std::move(cancelHandler_);
    }
    if (continuations.empty()) return;
    ContinuationNesting::run([continuations = std::move(continuations), result = shared()]() mutable {
      for (auto& continuation : continuations) {
        const auto call = [&] { continuation(result); };
        ContinuationNesting::contain(call);
      }
    });
  }

  bool isCompletedLocked() const { return own_ || source_; }

  // Of a completed task, whose result never changes again. A result that came from another task is kept alive by that
  // task alone: a chain of tasks does not hold on to its middle.
  SharedResult<T> shared() { return source_ ? source_ : SharedResult<T>(this->shared_from_this(), &*own_); }

  mutable std::mutex mutex_;
  std::optional<Result<T>> own_;
  SharedResult<T> source_;
  std::vector<Continuation> continuations_;
  std::move_only_function<void()> cancelHandler_;
  bool isCancelled_ = false;
};

}  // namespace detail
}  // namespace lx
