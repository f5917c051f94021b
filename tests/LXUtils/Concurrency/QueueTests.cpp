#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXUtils/Concurrency/MulticastDelegate.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Foundation/Clock.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

TEST(SerialQueue, RunsTheWorkOfManyThreadsOneAtATimeAndInEachThreadsOrder) {
  constexpr int threads = 8;
  constexpr int each = 500;
  const auto queue = DispatchQueue::makeSerial("test");
  std::vector<int> last(threads, -1);
  int total = 0;  // unguarded on purpose: the queue is the guard
  std::vector<std::jthread> producers;
  for (int t = 0; t < threads; ++t) {
    producers.emplace_back([&, t] {
      for (int i = 0; i < each; ++i) {
        const auto work = [&, i, &previous = last[static_cast<std::size_t>(t)]] {
          EXPECT_EQ(std::exchange(previous, i), i - 1);
          ++total;
        };
        i % 3 == 0 ? queue->sync(work) : queue->async(work);
      }
    });
  }
  producers.clear();
  queue->sync([] {});
  EXPECT_EQ(total, threads * each);
}

TEST(SerialQueue, SyncWorksFromItsOwnWorkAndFromMoreQueuesThanThereAreWorkers) {
  for (int round = 0; round < 20; ++round) {
    const auto target = DispatchQueue::makeSerial("target");
    std::vector<QueueRef> queues;
    int calls = 0;  // unguarded on purpose: the queue is the guard
    for (int i = 0; i < 6; ++i) {
      queues.push_back(DispatchQueue::makeSerial("outer"));
      queues.back()->async([&] {
        target->async([&] { ++calls; });
        target->sync([&] { target->sync([&] { ++calls; }); });
      });
    }
    for (const auto& queue : queues) queue->sync([] {});
    const auto& other = queues.front();
    other->sync([&] { target->sync([&] { other->sync([&] { EXPECT_EQ(calls, 12); }); }); });
  }
}

TEST(SerialQueue, TheLastOwnerMayBeItsOwnWork) {
  std::promise<void> gone;
  struct Witness {
    std::promise<void>* gone;
    ~Witness() { gone->set_value(); }
  };
  auto queue = DispatchQueue::makeSerial("short-lived");
  queue->async([queue, witness = std::make_unique<Witness>(&gone)] {});
  queue.reset();
  gone.get_future().wait();
}

TEST(SerialQueue, OutlivesAnExceptionOfItsWork) {
  const auto queue = DispatchQueue::makeSerial("test");
  const auto task = Task<void>::success().map([] { throw std::runtime_error("on a worker"); }, queue);
  std::promise<void> ran;
  queue->async([&] { ran.set_value(); });
  ran.get_future().wait();
  EXPECT_EQ(task.result()->error().typeName(), "TaskError.cancelled");
  EXPECT_THROW(queue->sync([] { throw std::runtime_error("on the caller's thread"); }), std::runtime_error);
  queue->sync([] {});
}

TEST(SystemClock, TimersFireInTheOrderOfTheirDeadlinesAndNotWhenCancelled) {
  const auto clock = Clock::system();
  const auto main = MainQueue::shared();
  std::vector<int> fired;
  clock->after(std::chrono::milliseconds(60), main, [&] { fired.push_back(3); });
  clock->after(std::chrono::milliseconds(30), main, [&] { fired.push_back(2); });
  auto cancelled = clock->after(std::chrono::milliseconds(45), main, [&] { fired.push_back(0); });
  clock->after(std::chrono::milliseconds(0), main, [&] { fired.push_back(1); });
  clock->after(Clock::Duration::max(), main, [&] { fired.push_back(4); });
  cancelled.cancel();

  EXPECT_TRUE(main->runUntil([&] { return fired.size() == 3; }, std::chrono::seconds(10)));
  EXPECT_THAT(fired, ElementsAre(1, 2, 3));
}

TEST(MainQueue, AWakeWhileTheConditionIsLookedAtIsNotLost) {
  const auto main = MainQueue::shared();
  std::atomic<bool> holds{false};
  const auto start = Clock::system()->steadyNow();
  EXPECT_TRUE(main->runUntil(
      [&] {
        if (holds) return true;
        std::jthread([&] {
          holds = true;
          main->wake();
        }).join();
        return false;
      },
      std::chrono::seconds(20)));
  EXPECT_LT(Clock::system()->steadyNow() - start, std::chrono::seconds(10));
}

TEST(MulticastDelegate, CallsLivingListenersInOrderAndAllowsChangesMeanwhile) {
  struct Listener {
    int number;
  };
  MulticastDelegate<Listener> delegate;
  const auto first = std::make_shared<Listener>(1);
  auto second = std::make_shared<Listener>(2);
  const auto third = std::make_shared<Listener>(3);
  for (const auto& listener : {first, second, third, first}) delegate.add(listener);
  second.reset();
  std::vector<int> called;
  const auto visit = [&](const Listener& listener) {
    called.push_back(listener.number);
    delegate.remove(listener);
  };
  delegate.invoke(visit);
  delegate.invoke(visit);
  EXPECT_THAT(called, ElementsAre(1, 3));
}

}  // namespace
}  // namespace lx
