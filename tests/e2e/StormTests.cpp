#include "LXUtils/System/FileLock.h"

#include "e2e/StackTest.h"

// Many requests on one stack, and its end while they are under way.

namespace lx {
namespace {

using Storm = StackTest;

/// Counts the attempts after the first that the retrier decides on.
struct RetryCounter final : LogSink {
  void write(const LogRecord& record) override {
    if (!std::string_view(record.site.operation).starts_with("retryIfNeeded(")) return;
    ++count;
    MainQueue::shared()->wake();
  }
  std::atomic<std::size_t> count{0};
};

TEST_F(Storm, ManyRequestsThatAreRefusedAtOnceShareOneRefresh) {
  constexpr std::size_t requests = 32;
  App app(options());
  signIn(app);
  backend->expireAccessTokens();
  // With the lock taken, the refresh waits until every request has been refused.
  const auto lock = *FileLock::make(folder.file("refresh.lock"));
  ASSERT_TRUE(lock->try_());
  const auto refusals = std::make_shared<RetryCounter>();
  Logging::setSink(refusals, 1);

  std::vector<Task<UserServiceFetchUserResponse>> tasks;
  for (std::size_t i = 0; i < requests; ++i) tasks.push_back(app.userOAuth2.fetchUser());
  EXPECT_TRUE(pumpUntil([&] { return refusals->count == requests; }));
  Logging::setSink(nullptr);
  MainQueue::shared()->drain();  // each refused request asks for its refresh there
  ASSERT_TRUE(lock->unlock());

  for (const auto& task : tasks) {
    const auto fetched = await(task);
    EXPECT_TRUE(fetched && fetched->user.id == "1001");
  }
  EXPECT_EQ(backend->journal().count("/v4/api/oauth2/token"), 1U);
  EXPECT_EQ(backend->journal().count("/v4/api/user"), 2 * requests);
}

TEST_F(Storm, AStackThatGoesAwayAnswersWhatIsUnderWay) {
  auto app = std::make_unique<App>(options());
  signIn(*app, "ordinary", std::chrono::seconds(-10));
  backend->addFault("POST /v4/api/oauth2/token", {.delay = std::chrono::hours(1)});
  const auto fetch = app->user.fetchUser();
  const auto anonymous = app->orAnonymous.auth();
  EXPECT_TRUE(await(anonymous));
  EXPECT_TRUE(backend->journal().waitForRequests(1, "/v4/api/oauth2/token", watchdog));
  MainQueue::shared()->drain();
  app.reset();
  const auto ended = await(fetch);
  ASSERT_FALSE(ended);
  EXPECT_TRUE(ended.error().is(TaskError::cancelled)) << ended.error().description();
}

}  // namespace
}  // namespace lx
