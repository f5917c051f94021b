#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why a task ended without its producer's answer.
struct TaskError {
  /// The task was cancelled, or whoever had to answer it is gone.
  static const TaskError cancelled;

  std::string typeName() const { return "TaskError.cancelled"; }
  std::string description() const { return "The operation was cancelled"; }
  bool operator==(const TaskError&) const = default;
};
inline const TaskError TaskError::cancelled{};

/// Takes a result once. Letting go of it uncalled lets whoever waits for it know: the task behind it is cancelled.
template <class T>
using Completion = std::move_only_function<void(Result<T>)>;

template <class T>
class Task;
template <class T>
class Promise;

namespace detail {

template <class T>
struct IsTask : std::false_type {};
template <class T>
struct IsTask<Task<T>> : std::true_type {
  using Value = T;
};
template <class T>
struct IsResult : std::false_type {};
template <class T>
struct IsResult<Result<T>> : std::true_type {
  using Value = T;
};

// Stands for T where a parameter of type void would not even be a declaration.
template <class T>
using NonVoid = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

// Calls `f` with the value of a result, or without an argument for a result of void.
template <class F, class T, class... First>
decltype(auto) applyValue(F& f, const Result<T>& result, First&&... first) {
  if constexpr (std::is_void_v<T>) {
    return f(std::forward<First>(first)...);
  } else {
    return f(std::forward<First>(first)..., *result);
  }
}

template <class F, class T, class... First>
using ValueAnswer = std::remove_cvref_t<decltype(applyValue(std::declval<F&>(), std::declval<const Result<T>&>(),
                                                            std::declval<First>()...))>;

// A completed task's result, kept by whoever still looks at it: results pass from task to task without a copy.
template <class T>
using SharedResult = std::shared_ptr<const Result<T>>;

template <class T>
class TaskState : public std::enable_shared_from_this<TaskState<T>> {
 public:
  using Continuation = std::move_only_function<void(const SharedResult<T>&)>;

  void complete(Result<T> result) {
    completeWith([&] {
      own_.emplace(std::move(result));
      return &*own_;
    });
  }

  void completeAs(const SharedResult<T>& other) {
    completeWith([&] {
      source_ = other;
      return other.get();
    });
  }

  void cancel() {
    std::move_only_function<void()> handler;
    {
      const std::lock_guard lock(mutex_);
      if (result_) return;
      handler = std::move(cancelHandler_);
      cancelHandler_ = nullptr;
      isCancelled_ = true;
    }
    complete(fail(TaskError::cancelled));
    if (handler) handler();
  }

  void onCancel(std::move_only_function<void()> handler) {
    {
      const std::lock_guard lock(mutex_);
      if (!isCancelled_) {
        if (!result_) cancelHandler_.swap(handler);
        return;
      }
    }
    handler();
  }

  bool isCompleted() const {
    const std::lock_guard lock(mutex_);
    return result_ != nullptr;
  }

  void whenCompleted(Continuation continuation) {
    {
      const std::lock_guard lock(mutex_);
      if (!result_) {
        continuations_.push_back(std::move(continuation));
        return;
      }
    }
    continuation(shared());
  }

  std::optional<Result<T>> result() const {
    const std::lock_guard lock(mutex_);
    return result_ ? std::optional(*result_) : std::nullopt;
  }

 private:
  template <class Place>
  void completeWith(const Place& place) {
    std::vector<Continuation> continuations;
    std::move_only_function<void()> unused;
    {
      const std::lock_guard lock(mutex_);
      if (result_) return;
      result_ = place();
      continuations.swap(continuations_);
      unused = std::move(cancelHandler_);
    }
    if (continuations.empty()) return;
    const auto result = shared();
    for (auto& continuation : continuations) continuation(result);
  }

  SharedResult<T> shared() { return SharedResult<T>(this->shared_from_this(), result_); }

  mutable std::mutex mutex_;
  const Result<T>* result_ = nullptr;  // never changes again once it is set; to own_ or into source_
  std::optional<Result<T>> own_;
  SharedResult<T> source_;
  std::vector<Continuation> continuations_;
  std::move_only_function<void()> cancelHandler_;
  bool isCancelled_ = false;
};

}  // namespace detail

/// A shared handle to one result that is there already or will come. It completes exactly once: with the producer's
/// answer, or as cancelled when it is cancelled or its producer disappears. Copies are handles to the same result.
///
/// Continuations run in the order in which they were attached: on the given queue, which is always enqueued to, or else
/// where the task completes (on the attaching thread when it has completed already). Those that take a weak `target`
/// call `f(target, ...)`. When the target is gone, a side effect is skipped and the result passes on; where the
/// target's answer was needed, the resulting task is cancelled.
///
/// Cancelling a task made by a continuation cancels the task it was made from, too.
template <class T>
class Task {
  using Shared = detail::SharedResult<T>;

 public:
  using Value = T;

  static Task success(detail::NonVoid<T> value)
    requires(!std::is_void_v<T>)
  {
    return completed(Result<T>(std::move(value)));
  }
  static Task success()
    requires std::is_void_v<T>
  {
    return completed(Result<void>());
  }
  static Task failure(Error error) { return completed(fail(std::move(error))); }

  static Task completed(Result<T> result) {
    Task task(std::make_shared<detail::TaskState<T>>());
    task.state_->complete(std::move(result));
    return task;
  }

  /// The result, once it is there.
  std::optional<Result<T>> result() const { return state_->result(); }

  /// Completes the task as cancelled unless it has completed, then tells its producer. Any thread.
  void cancel() const { state_->cancel(); }

  /// The task that `f` returns for the value: `f(value) -> Task<U>`.
  template <class F>
  auto then(F f, QueueRef queue = {}) const {
    using U = typename detail::IsTask<detail::ValueAnswer<F, T>>::Value;
    return chain<U>(std::move(queue), [f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
      if (*result) {
        std::move(promise).follow(detail::applyValue(f, *result));
      } else {
        promise.complete(fail(result->error()));
      }
    });
  }

  template <class Target, class F>
  auto then(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    using U = typename detail::IsTask<detail::ValueAnswer<F, T, Target&>>::Value;
    return chain<U>(std::move(queue),
                    [target = std::move(target), f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
                      if (!*result) return promise.complete(fail(result->error()));
                      if (const auto alive = target.lock())
                        std::move(promise).follow(detail::applyValue(f, *result, *alive));
                    });
  }

  /// The value that `f` makes of the value: `f(value) -> U`.
  template <class F>
  auto map(F f, QueueRef queue = {}) const {
    using U = detail::ValueAnswer<F, T>;
    return chain<U>(std::move(queue), [f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
      if (!*result) return promise.complete(fail(result->error()));
      if constexpr (std::is_void_v<U>) {
        detail::applyValue(f, *result);
        promise.complete(Result<void>());
      } else {
        promise.complete(detail::applyValue(f, *result));
      }
    });
  }

  template <class Target, class F>
  auto map(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    using U = detail::ValueAnswer<F, T, Target&>;
    return chain<U>(std::move(queue),
                    [target = std::move(target), f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
                      if (!*result) return promise.complete(fail(result->error()));
                      const auto alive = target.lock();
                      if (!alive) return;
                      if constexpr (std::is_void_v<U>) {
                        detail::applyValue(f, *result, *alive);
                        promise.complete(Result<void>());
                      } else {
                        promise.complete(detail::applyValue(f, *result, *alive));
                      }
                    });
  }

  /// As `map`, for an `f` that can fail: `f(value) -> Result<U>`.
  template <class F>
  auto decode(F f, QueueRef queue = {}) const {
    using U = typename detail::IsResult<detail::ValueAnswer<F, T>>::Value;
    return chain<U>(std::move(queue), [f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
      promise.complete(*result ? detail::applyValue(f, *result) : Result<U>(fail(result->error())));
    });
  }

  template <class Target, class F>
  auto decode(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    using U = typename detail::IsResult<detail::ValueAnswer<F, T, Target&>>::Value;
    return chain<U>(std::move(queue), [target, f = std::move(f)](const Shared& result, Promise<U> promise) mutable {
      if (!*result) return promise.complete(fail(result->error()));
      if (const auto alive = target.lock()) promise.complete(detail::applyValue(f, *result, *alive));
    });
  }

  /// Puts the task that `f` returns for the error in the error's place: `f(error) -> Task<T>`.
  template <class F>
  Task catch_(F f, QueueRef queue = {}) const {
    return chain<T>(std::move(queue), [f = std::move(f)](const Shared& result, Promise<T> promise) mutable {
      if (*result) {
        promise.completeAs(result);
      } else {
        std::move(promise).follow(f(result->error()));
      }
    });
  }

  template <class Target, class F>
  Task catch_(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return chain<T>(std::move(queue),
                    [target = std::move(target), f = std::move(f)](const Shared& result, Promise<T> promise) mutable {
                      if (*result) return promise.completeAs(result);
                      if (const auto alive = target.lock()) std::move(promise).follow(f(*alive, result->error()));
                    });
  }

  /// Side effects, which see the value, the error or the whole result; the result passes on after them.
  template <class F>
    requires(!std::is_convertible_v<F, T>)
  Task success(F f, QueueRef queue = {}) const {
    return observe(std::move(queue), [f = std::move(f)](const Result<T>& result) mutable {
      if (result) detail::applyValue(f, result);
    });
  }

  template <class Target, class F>
  Task success(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observe(std::move(queue), [target = std::move(target), f = std::move(f)](const Result<T>& result) mutable {
      if (!result) return;
      if (const auto alive = target.lock()) detail::applyValue(f, result, *alive);
    });
  }

  template <std::invocable<const Error&> F>
  Task failure(F f, QueueRef queue = {}) const {
    return observe(std::move(queue), [f = std::move(f)](const Result<T>& result) mutable {
      if (!result) f(result.error());
    });
  }

  template <class Target, class F>
  Task failure(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observe(std::move(queue), [target = std::move(target), f = std::move(f)](const Result<T>& result) mutable {
      if (result) return;
      if (const auto alive = target.lock()) f(*alive, result.error());
    });
  }

  template <class F>
  Task finally(F f, QueueRef queue = {}) const {
    return observe(std::move(queue), std::move(f));
  }

  template <class Target, class F>
  Task finally(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observe(std::move(queue), [target = std::move(target), f = std::move(f)](const Result<T>& result) mutable {
      if (const auto alive = target.lock()) f(*alive, result);
    });
  }

  /// The end of a chain: `f(result)` on the queue. Cheaper than `finally`, since no task follows.
  template <class F>
  void deliver(F f, QueueRef queue) const {
    state_->whenCompleted([queue = std::move(queue), f = std::move(f)](const Shared& result) mutable {
      queue->async([result, f = std::move(f)]() mutable { f(*result); });
    });
  }

 private:
  template <class>
  friend class Promise;
  template <class>
  friend class Task;

  explicit Task(std::shared_ptr<detail::TaskState<T>> state) : state_(std::move(state)) {}

  // A new task that `step(shared result, promise)` completes. A step that lets go of its promise cancels the new task.
  // Once that is cancelled its step is not taken any more, unless the step is needed for what it does besides.
  template <class U, class Step>
  Task<U> chain(QueueRef queue, Step step, bool needsStep = false) const {
    Promise<U> promise;
    Task<U> next = promise.task();
    promise.onCancel([upstream = std::weak_ptr(state_)] {
      if (const auto alive = upstream.lock()) alive->cancel();
    });
    if (queue) {
      state_->whenCompleted([queue = std::move(queue), needsStep, step = std::move(step),
                             promise = std::move(promise)](const Shared& result) mutable {
        queue->async([result, needsStep, step = std::move(step), promise = std::move(promise)]() mutable {
          if (needsStep || !promise.isCompleted()) step(result, std::move(promise));
        });
      });
    } else {
      state_->whenCompleted(
          [needsStep, step = std::move(step), promise = std::move(promise)](const Shared& result) mutable {
            if (needsStep || !promise.isCompleted()) step(result, std::move(promise));
          });
    }
    return next;
  }

  template <class Effect>
  Task observe(QueueRef queue, Effect effect) const {
    return chain<T>(
        std::move(queue),
        [effect = std::move(effect)](const Shared& result, Promise<T> promise) mutable {
          effect(*result);
          promise.completeAs(result);
        },
        true);
  }

  std::shared_ptr<detail::TaskState<T>> state_;
};

/// The producer's side of a task. Movable only; destroying it uncompleted cancels the task.
template <class T>
class Promise {
 public:
  Promise() : state_(std::make_shared<detail::TaskState<T>>()) {}
  Promise(Promise&&) noexcept = default;
  Promise& operator=(Promise&& other) noexcept {
    abandon();
    state_ = std::move(other.state_);
    return *this;
  }
  ~Promise() { abandon(); }

  Task<T> task() const { return Task<T>(state_); }

  bool isCompleted() const { return state_->isCompleted(); }

  /// Completes the task, unless it was cancelled before.
  void complete(Result<T> result) { state_->complete(std::move(result)); }

  /// What the producer does when the task is cancelled, on the cancelling thread, after the task has completed; at once
  /// when it has been cancelled already. The latest handler counts.
  void onCancel(std::move_only_function<void()> handler) { state_->onCancel(std::move(handler)); }

  /// Completes the task with the result of another; a cancel goes on to that one.
  void follow(const Task<T>& other) && {
    state_->onCancel([upstream = std::weak_ptr(other.state_)] {
      if (const auto alive = upstream.lock()) alive->cancel();
    });
    other.state_->whenCompleted(
        [promise = std::move(*this)](const detail::SharedResult<T>& result) mutable { promise.completeAs(result); });
  }

  /// This promise as a completion. Letting go of the completion uncalled cancels the task.
  Completion<T> completion() && {
    return [promise = std::move(*this)](Result<T> result) mutable { promise.complete(std::move(result)); };
  }

 private:
  template <class>
  friend class Task;

  // With the result of another task, which is shared with it.
  void completeAs(const detail::SharedResult<T>& result) { state_->completeAs(result); }

  void abandon() {
    // Nearly always completed by now, and an error costs memory.
    if (state_ && !state_->isCompleted()) state_->complete(fail(TaskError::cancelled));
  }

  std::shared_ptr<detail::TaskState<T>> state_;
};

}  // namespace lx
