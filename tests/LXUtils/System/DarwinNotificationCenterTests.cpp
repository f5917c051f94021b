#include <filesystem>
#include <fstream>
#include <future>
#include <string>

#include <gtest/gtest.h>

#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Concurrency/RuntimeInternal.h"
#include "LXUtils/System/DarwinNotificationCenter.h"
#include "LXUtils/System/FolderWatchInternal.h"

#include "TemporaryFolder.h"
#include "process/ChildProcess.h"

namespace lx {
namespace {

struct Notifications : testing::Test {
  // Passes everything that was posted before: the center reports in the order of the posts.
  void fence() {
    std::promise<void> passed;
    const auto token = center->addObserver("fence", fenceQueue, [&] { passed.set_value(); });
    center->post("fence");
    EXPECT_EQ(passed.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    center->removeObserver(token);
    main->drain();
  }

  bool settles(const std::function<bool()>& done) { return main->runUntil(done, std::chrono::seconds(20)); }

  TemporaryFolder parent;
  std::string folder = parent.file("notifications");
  std::shared_ptr<DarwinNotificationCenter> center = DarwinNotificationCenter::forFolder(folder);
  std::shared_ptr<MainQueue> main = MainQueue::shared();
  QueueRef fenceQueue = DispatchQueue::makeSerial("fence");
  int calls = 0;
  std::function<void()> count = [this] { ++calls; };
};

TEST_F(Notifications, CrossProcessesBothWaysAndReachOneThatGetsNoWatch) {
  center->addObserver("name", main, count);
  EXPECT_EQ(ChildProcess({LX_SYSTEM_PROBE, "post", folder, "name", "3"}).wait(), 0);
  EXPECT_TRUE(settles([&] { return calls > 0; }));

  for (const auto* command : {"wait", "poll"}) {
    ChildProcess waiter({LX_SYSTEM_PROBE, command, folder, "name"});
    ASSERT_EQ(waiter.readLine(), "ready");
    for (int i = 0; i < 3; ++i) {
      center->post("name");
      EXPECT_EQ(waiter.readLine(), "got") << command;
    }
  }
}

TEST_F(Notifications, BeginWithTheSubscription) {
  fence();  // the watch stands, so that the next post is on its way when the observer comes
  center->post("name");
  center->addObserver("name", main, count);
  fence();
  EXPECT_EQ(calls, 0);
  center->post("name");
  fence();
  EXPECT_EQ(calls, 1);
}

TEST_F(Notifications, OfOneNameCountAsOneUntilTheHandlerRuns) {
  int others = 0;
  center->addObserver("name", main, count);
  center->addObserver("other", main, [&] { ++others; });
  for (int round = 1; round <= 2; ++round) {
    for (int i = 0; i < 5; ++i) center->post("name");
    fence();
    EXPECT_EQ(calls, round);
  }
  EXPECT_EQ(others, 0);
}

TEST_F(Notifications, DoNotReachAnObserverThatWasRemovedWhileItsHandlerWaited) {
  const auto token = center->addObserver("name", main, count);
  std::promise<void> told;
  center->addObserver("name", fenceQueue, [&] { told.set_value(); });
  center->post("name");
  told.get_future().wait();  // observers are told in the order of their coming
  center->removeObserver(token);
  EXPECT_EQ(main->drain(), 1U);
  EXPECT_EQ(calls, 0);
}

TEST_F(Notifications, SurviveAnOverflowOfTheSystemsQueue) {
  center->addObserver("last", main, count);
  fence();
  std::promise<void> release;
  auto released = release.get_future().share();
  Runtime::shared()->eventLoop().post([released] { released.wait(); });
  for (int i = 0; i < 10'000; ++i) {
    center->post("one");
    center->post("two");
  }
  center->post("last");
  release.set_value();
  EXPECT_TRUE(settles([&] { return calls == 1; }));
}

TEST_F(Notifications, SurviveTheLossOfTheirFolder) {
  center->addObserver("name", main, count);
  const std::function<void()> losses[] = {
      [&] { std::filesystem::remove_all(folder); },
      [&] { std::filesystem::rename(folder, parent.file("moved")); },
      [&] {
        std::filesystem::remove_all(folder);
        const std::ofstream file(folder);
        center->post("name");  // cannot be posted
        std::filesystem::remove(folder);
      },
  };
  for (const auto& lose : losses) {
    fence();
    lose();
    calls = 0;
    center->post("name");
    EXPECT_TRUE(settles([&] { return calls == 1; }));
  }
}

TEST_F(Notifications, HaveTheirFolderCreatedAgainByItsWatch) {
  struct Listener final : FolderListener {
    void fileHasChanged(std::string_view) override {}
    void folderIsGone() override {}
    void anyFileMayHaveChanged() override { MainQueue::shared()->wake(); }
  };
  const auto listener = std::make_shared<Listener>();
  const auto watch = FolderWatch::shared();
  watch->add(folder, listener);
  std::filesystem::remove_all(folder);
  EXPECT_TRUE(settles([&] { return std::filesystem::is_directory(folder); }));
  watch->remove(listener.get());
}

TEST_F(Notifications, TakeAnyNameAndOneCenterServesAFolder) {
  EXPECT_EQ(center, DarwinNotificationCenter::forFolder(parent.file("./notifications/")));
  EXPECT_NE(center, DarwinNotificationCenter::forFolder(parent.file("others")));
  int expected = 0;
  for (const auto& name : {std::string(), std::string("."), std::string(".."), std::string("../up"), std::string("a/b"),
                           std::string("a\0b", 3), std::string("a%2Fb")}) {
    center->addObserver(name, main, count);
    center->post(name);
    fence();
    EXPECT_EQ(calls, ++expected) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(parent.file("up")));
}

}  // namespace
}  // namespace lx
