#include <new>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Concurrency/Task.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

struct Trouble {
  int number;
  std::string typeName() const { return "Trouble"; }
  std::string description() const { return "trouble " + std::to_string(number); }
  bool operator==(const Trouble&) const = default;
};

bool isCancelled(const auto& task) {
  const auto result = task.result();
  return result && !*result && result->error().template is<TaskError>(TaskError::cancelled);
}

template <class T, class F>
concept CanObserve = requires(const T& task, F f) { task.success(f); };

TEST(Task, TransformationsCarryTheValueAndSkipOverAnError) {
  Promise<int> good;
  Promise<int> bad;
  const auto pipeline = [](const Task<int>& task) {
    return task.map([](int v) { return v + 1; })
        .then([](int v) { return Task<std::string>::success(std::to_string(v)); })
        .decode([](const std::string& text) -> Result<std::string> { return text + "!"; });
  };
  const auto first = pipeline(good.task());
  const auto second = pipeline(bad.task());
  good.complete(41);
  bad.complete(fail(Trouble{7}));

  EXPECT_EQ(first.result()->value(), "42!");
  EXPECT_TRUE(second.result()->error().is(Trouble{7}));
  EXPECT_EQ(second.catch_([](const Error&) { return Task<std::string>::success("mended"); }).result()->value(),
            "mended");
}

TEST(Task, CompletesOnceAndTellsObserversInTheirOrder) {
  std::vector<std::string> seen;
  Promise<int> promise;
  const auto task = promise.task();
  task.success([&](int v) { seen.push_back("value " + std::to_string(v)); });
  task.failure([&](const Error&) { seen.push_back("never"); });
  task.finally([&](const Result<int>& r) { seen.push_back(r ? "finally" : "never"); });
  promise.complete(1);
  promise.complete(2);
  task.success([&](int v) { seen.push_back("late " + std::to_string(v)); });

  EXPECT_THAT(seen, ElementsAre("value 1", "finally", "late 1"));
}

TEST(Task, IsCancelledWhenItsProducerDisappears) {
  auto promise = std::make_unique<Promise<void>>();
  const auto direct = promise->task();
  const auto derived = direct.map([] { return 1; });
  auto completion = std::move(*promise).completion();
  promise.reset();
  EXPECT_FALSE(direct.result());
  completion = nullptr;

  EXPECT_TRUE(isCancelled(direct));
  EXPECT_TRUE(isCancelled(derived));
}

TEST(Task, CancelReachesTheProducerThroughEveryStageOnce) {
  int cancels = 0;
  Promise<int> outer;
  Promise<int> inner;
  outer.onCancel([&] { ++cancels; });
  inner.onCancel([&] { cancels += 10; });
  const auto beforeInner = outer.task().map([](int v) { return v; });
  beforeInner.cancel();
  beforeInner.cancel();
  EXPECT_EQ(cancels, 1);

  Promise<void> start;
  const auto following = start.task().then([&] { return inner.task(); }).map([](int v) { return v; });
  start.complete({});
  following.cancel();
  inner.complete(5);

  EXPECT_EQ(cancels, 11);
  EXPECT_TRUE(isCancelled(following));
}

TEST(Task, WhatIsCancelledWhileAStepIsQueuedIsNotStarted) {
  const auto main = MainQueue::shared();
  bool started = false;
  bool cleanedUp = false;
  const auto next = [&](int) {
    started = true;
    return Task<int>::success(1);
  };
  const auto chained = Task<int>::success(1).then(next, main);
  const auto observed = Task<int>::success(1).finally([&](const Result<int>&) { cleanedUp = true; }, main);
  chained.cancel();
  observed.cancel();
  EXPECT_FALSE(cleanedUp) << "a queue is always enqueued to";
  main->drain();
  EXPECT_FALSE(started);
  EXPECT_TRUE(cleanedUp);

  int cancels = 0;
  Promise<void> outer;
  outer.task().cancel();
  outer.onCancel([&] { ++cancels; });
  EXPECT_EQ(cancels, 1);
}

TEST(Task, ChainsOfAnyLengthCompleteCancelAndEndWithoutDeepRecursion) {
  constexpr int length = 100'000;
  int cancels = 0;
  for (const bool isCancelledAtTheEnd : {false, true}) {
    Promise<int> promise;
    promise.onCancel([&] { ++cancels; });
    auto task = promise.task();
    for (int i = 0; i < length; ++i) {
      task = i % 2 == 0 ? task.map([](int v) { return v + 1; }) : task.finally([](const Result<int>&) {});
    }
    if (isCancelledAtTheEnd) task.cancel();
    promise.complete(0);
    EXPECT_EQ(task.result()->value_or(-1), isCancelledAtTheEnd ? -1 : length / 2);
  }
  EXPECT_EQ(cancels, 1);

  auto passedOn = Task<int>::success(1);
  for (int i = 0; i < length; ++i) passedOn = passedOn.finally([](const Result<int>&) {});
  EXPECT_EQ(passedOn.result()->value(), 1);

  auto abandoned = std::make_unique<Promise<int>>();
  auto task = abandoned->task();
  for (int i = 0; i < length; ++i) task = task.catch_([](const Error& error) { return Task<int>::failure(error); });
  abandoned.reset();
  EXPECT_TRUE(isCancelled(task));
}

TEST(Task, ContinuationsKeepTheirOrderAndMayWaitHoweverDeepTheyAreNested) {
  for (int depth = 0; depth < 60; ++depth) {
    Promise<int> promise;
    auto task = promise.task();
    for (int i = 0; i < depth; ++i) task = task.map([](int v) { return v; });
    std::string seen;
    bool hasWaited = false;
    task.finally([&](const Result<int>&) {
      Promise<int> inner;
      const auto innerTask = inner.task();
      innerTask.finally([&](const Result<int>&) { seen += "1"; });
      inner.complete(1);
      innerTask.finally([&](const Result<int>&) { seen += "2"; });
      const auto queued = Task<int>::success(1).map([](int v) { return v; }, MainQueue::shared());
      hasWaited = MainQueue::shared()->runUntil(
          [&] { return queued.map([](int v) { return v; }).result().has_value(); }, std::chrono::seconds(5));
    });
    promise.complete(1);
    ASSERT_EQ(seen, "12") << depth;
    ASSERT_TRUE(hasWaited) << depth;
  }
}

Task<int> countDown(int count) {
  return count == 0 ? Task<int>::success(0) : Task<int>::success(count - 1).then(countDown);
}

TEST(Task, AStepThatIsDueAtOnceMayTakeItselfAgainWithoutDeepRecursion) {
  EXPECT_EQ(countDown(100'000).result()->value(), 0);
}

TEST(Task, ExceptionsOfContinuationsCancelTheirTasksAndNoOthers) {
  const auto worker = DispatchQueue::makeSerial("worker");
  for (int round = 0; round < 200; ++round) {
    auto promise = std::make_shared<Promise<int>>();
    const auto thrown = promise->task().map([](int) -> int { throw std::bad_alloc(); });
    const auto sibling = promise->task().map([](int v) { return v + 1; });
    worker->async([&] { promise->complete(round); });
    worker->sync([] {});
    ASSERT_TRUE(isCancelled(thrown));
    ASSERT_EQ(sibling.result()->value_or(-1), round + 1);
    const auto abandoned = Promise<int>().task().catch_([](const Error&) -> Task<int> { throw std::bad_alloc(); });
    ASSERT_TRUE(isCancelled(abandoned));
  }
}

TEST(Task, AnObserverOfABoolIsNotTakenForItsValue) {
  bool seen = false;
  static bool isSeenWithoutCapture = false;
  const auto task = Task<bool>::success(true);
  task.success([&](bool value) { seen = value; });
  task.success([](bool value) { isSeenWithoutCapture = value; });
  static_assert(!CanObserve<Task<bool>, decltype([] {})>);
  EXPECT_TRUE(seen);
  EXPECT_TRUE(isSeenWithoutCapture);
}

TEST(Task, AGoneTargetSkipsSideEffectsAndCancelsWhereItsAnswerWasNeeded) {
  auto target = std::make_shared<int>(3);
  int calls = 0;
  Promise<int> promise;
  const auto effect = promise.task().success(std::weak_ptr(target), [&](int&, int) { ++calls; });
  const auto needed = promise.task().map(std::weak_ptr(target), [&](int& t, int v) { return t + v; });
  target.reset();
  promise.complete(4);

  EXPECT_EQ(calls, 0);
  EXPECT_EQ(effect.result()->value(), 4);
  EXPECT_TRUE(isCancelled(needed));
}

TEST(Task, ObserversMayAttachAndCancelFromWithinAContinuation) {
  Promise<int> promise;
  const auto task = promise.task();
  int nested = 0;
  task.finally([&](const Result<int>&) {
    task.cancel();
    task.success([&](int v) { nested = v; });
  });
  promise.complete(9);
  EXPECT_EQ(nested, 9);
}

}  // namespace
}  // namespace lx
