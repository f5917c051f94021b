#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include "LXUtils/Concurrency/DispatchQueue.h"
#include "LXUtils/Concurrency/TaskState.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Takes a result once. Destroying it without calling it cancels the task that waits for it.
template <class T>
using Completion = std::move_only_function<void(Result<T>)>;

template <class T>
class Task;
template <class T>
class Promise;

namespace detail {

template <class T>
struct TaskValue;
template <class T>
struct TaskValue<Task<T>> {
  using Type = T;
};
template <class T>
struct ResultValue;
template <class T>
struct ResultValue<Result<T>> {
  using Type = T;
};

// Stands for T where a parameter of type void would not even be a declaration.
template <class T>
using NonVoid = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

// Calls `f` with the value of a result, or without it for a result of void.
template <class F, class T, class... First>
decltype(auto) applyValue(F& f, const Result<T>& result, First&&... first) {
  if constexpr (std::is_void_v<T>) {
    return f(std::forward<First>(first)...);
  } else {
    return f(std::forward<First>(first)..., *result);
  }
}

// True if `f` takes the value of a Task<T>.
template <class F, class T>
concept ValueObserver =
    (std::is_void_v<T> && std::invocable<F&>) || (!std::is_void_v<T> && std::invocable<F&, const NonVoid<T>&>);

// True for a lambda that would be converted to a Task<bool>'s value.
template <class F, class T>
concept ConvertedFunction = std::same_as<T, bool> && std::convertible_to<F, bool> && requires { &F::operator(); };

// A continuation without a target.
template <class F>
struct Unbound {
  F f;

  template <class T>
  using Answer = std::remove_cvref_t<decltype(applyValue(std::declval<F&>(), std::declval<const Result<T>&>()))>;

  template <class Use>
  void call(const Use& use) {
    use(f);
  }
};

// A continuation whose first argument is a target that it holds weakly. It is not called once the target is gone.
template <class Target, class F>
struct Bound {
  std::weak_ptr<Target> target;
  F f;

  template <class T>
  using Answer = std::remove_cvref_t<decltype(applyValue(std::declval<F&>(), std::declval<const Result<T>&>(),
                                                         std::declval<Target&>()))>;

  template <class Use>
  void call(const Use& use) {
    const auto alive = target.lock();
    if (!alive) return;
    const auto bound = [&](const auto&... arguments) -> decltype(auto) { return f(*alive, arguments...); };
    use(bound);
  }
};

}  // namespace detail

/// A shared handle to one result that is there already or will come. It completes exactly once: with the producer's
/// answer, or as cancelled if it is cancelled or its producer is destroyed. Copies are handles to the same result.
///
/// Continuations run in the order in which they were attached: on the given queue, which is always enqueued to, or else
/// where the task completes (on the attaching thread if it has completed already). Those that take a weak `target`
/// call `f(target, ...)`. If the target is gone, a side effect is skipped and the result passes on; where the target's
/// answer was needed, the resulting task is cancelled. A chain may have any length: continuations that would be nested
/// too deep run after the one that leads to them, before the outermost completion returns. An exception of a
/// continuation is logged, and the task that it should have completed is cancelled.
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

  /// Completes the task as cancelled unless it has completed, then calls its producer's cancel handler. Any thread.
  void cancel() const { state_->cancel(); }

  /// The task that `f` returns for the value: `f(value) -> Task<U>`.
  template <class F>
  auto then(F f, QueueRef queue = {}) const {
    return chainThen(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <class Target, class F>
  auto then(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return chainThen(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  /// The value that `f` makes of the value: `f(value) -> U`.
  template <class F>
  auto map(F f, QueueRef queue = {}) const {
    return chainMap(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <class Target, class F>
  auto map(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return chainMap(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  /// As `map`, for an `f` that can fail: `f(value) -> Result<U>`.
  template <class F>
  auto decode(F f, QueueRef queue = {}) const {
    return chainDecode(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <class Target, class F>
  auto decode(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return chainDecode(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  /// Replaces an error by the task that `f` returns for it: `f(error) -> Task<T>`.
  template <class F>
  Task catch_(F f, QueueRef queue = {}) const {
    return chainCatch(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <class Target, class F>
  Task catch_(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return chainCatch(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  /// Side effects, which see the value, the error or the whole result; the result passes on after them.
  template <detail::ValueObserver<T> F>
  Task success(F f, QueueRef queue = {}) const {
    return observeValue(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <detail::ConvertedFunction<T> F>
    requires(!detail::ValueObserver<F, T>)
  Task success(F f) const = delete;
  template <class Target, class F>
  Task success(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observeValue(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  template <std::invocable<const Error&> F>
  Task failure(F f, QueueRef queue = {}) const {
    return observeError(detail::Unbound<F>{std::move(f)}, std::move(queue));
  }
  template <class Target, class F>
  Task failure(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observeError(detail::Bound<Target, F>{std::move(target), std::move(f)}, std::move(queue));
  }

  template <class F>
  Task finally(F f, QueueRef queue = {}) const {
    return observe(std::move(queue), std::move(f));
  }
  template <class Target, class F>
  Task finally(std::weak_ptr<Target> target, F f, QueueRef queue = {}) const {
    return observe(std::move(queue),
                   [bound = detail::Bound<Target, F>{std::move(target), std::move(f)}](
                       const Result<T>& result) mutable { bound.call([&](auto& call) { call(result); }); });
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

  template <class Call>
  auto chainThen(Call call, QueueRef queue) const {
    using U = typename detail::TaskValue<typename Call::template Answer<T>>::Type;
    return chainValue<U>(std::move(queue), std::move(call), [](auto& f, const Result<T>& result, Promise<U>& promise) {
      std::move(promise).follow(detail::applyValue(f, result));
    });
  }

  template <class Call>
  auto chainMap(Call call, QueueRef queue) const {
    using U = typename Call::template Answer<T>;
    return chainValue<U>(std::move(queue), std::move(call), [](auto& f, const Result<T>& result, Promise<U>& promise) {
      if constexpr (std::is_void_v<U>) {
        detail::applyValue(f, result);
        promise.complete(Result<void>());
      } else {
        promise.complete(detail::applyValue(f, result));
      }
    });
  }

  template <class Call>
  auto chainDecode(Call call, QueueRef queue) const {
    using U = typename detail::ResultValue<typename Call::template Answer<T>>::Type;
    return chainValue<U>(std::move(queue), std::move(call), [](auto& f, const Result<T>& result, Promise<U>& promise) {
      promise.complete(detail::applyValue(f, result));
    });
  }

  template <class Call>
  Task chainCatch(Call call, QueueRef queue) const {
    return chain<T>(std::move(queue), [call = std::move(call)](const Shared& result, Promise<T> promise) mutable {
      if (*result) return promise.completeAs(result);
      call.call([&](auto& f) { std::move(promise).follow(f(result->error())); });
    });
  }

  template <class Call>
  Task observeValue(Call call, QueueRef queue) const {
    return observe(std::move(queue), [call = std::move(call)](const Result<T>& result) mutable {
      if (result) call.call([&](auto& f) { detail::applyValue(f, result); });
    });
  }

  template <class Call>
  Task observeError(Call call, QueueRef queue) const {
    return observe(std::move(queue), [call = std::move(call)](const Result<T>& result) mutable {
      if (!result) call.call([&](auto& f) { f(result.error()); });
    });
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

  // A new task that `use(f, result, promise)` completes for a value. An error passes on.
  template <class U, class Call, class Use>
  Task<U> chainValue(QueueRef queue, Call call, Use use) const {
    return chain<U>(std::move(queue), [call = std::move(call), use](const Shared& result, Promise<U> promise) mutable {
      if (!*result) return promise.complete(fail(result->error()));
      call.call([&](auto& f) { use(f, *result, promise); });
    });
  }

  // A new task that `step(shared result, promise)` completes. A step that destroys its promise cancels the new task.
  // Once that is cancelled its step is not taken any more, unless the step is needed for what it does besides.
  template <class U, class Step>
  Task<U> chain(QueueRef queue, Step step, bool needsStep = false) const {
    Promise<U> promise;
    Task<U> next = promise.task();
    promise.onCancel([upstream = std::weak_ptr(state_)] {
      if (const auto alive = upstream.lock()) alive->cancel();
    });
    auto take = [needsStep, step = std::move(step), promise = std::move(promise)](const Shared& result) mutable {
      if (needsStep || !promise.isCompleted()) step(result, std::move(promise));
    };
    if (queue) {
      state_->whenCompleted([queue = std::move(queue), take = std::move(take)](const Shared& result) mutable {
        queue->async([result, take = std::move(take)]() mutable { take(result); });
      });
    } else {
      state_->whenCompleted(std::move(take));
    }
    return next;
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
  /// if it has been cancelled already. It is not called for a task that completes otherwise. The latest handler counts.
  void onCancel(std::move_only_function<void()> handler) { state_->onCancel(std::move(handler)); }

  /// Completes the task with the result of another; a cancel goes on to that one.
  void follow(const Task<T>& other) && {
    state_->onCancel([upstream = std::weak_ptr(other.state_)] {
      if (const auto alive = upstream.lock()) alive->cancel();
    });
    other.state_->whenCompleted(
        [promise = std::move(*this)](const detail::SharedResult<T>& result) mutable { promise.completeAs(result); });
  }

  /// This promise as a completion. Destroying the completion without calling it cancels the task.
  Completion<T> completion() && {
    return [promise = std::move(*this)](Result<T> result) mutable { promise.complete(std::move(result)); };
  }

 private:
  template <class>
  friend class Task;

  // With the result of another task, which is shared with it.
  void completeAs(const detail::SharedResult<T>& result) { state_->completeAs(result); }

  void abandon() {
    if (state_) state_->abandon();
  }

  std::shared_ptr<detail::TaskState<T>> state_;
};

}  // namespace lx
