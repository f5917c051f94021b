#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CredentialsStack.h"

namespace lx {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CredentialsService : public ::testing::Test {
 protected:
  void SetUp() override {
    Logging::setSink({&stack.events, [](LogSink*) {}}, 2);
  }
  void TearDown() override { Logging::setSink(nullptr); }

  // The events of the kinds that start so, in their order.
  std::vector<std::string> events(std::initializer_list<std::string_view> kinds) const {
    auto all = stack.events.all();
    std::erase_if(all, [&](const std::string& event) {
      return std::none_of(kinds.begin(), kinds.end(), [&](std::string_view kind) { return event.starts_with(kind); });
    });
    return all;
  }
  std::string storedToken() const { return stack.store->records().credentials->accessToken; }

  TemporaryFolder folder;
  CredentialsStack stack{folder.path()};
};

TEST_F(CredentialsService, AnswersAtOnceWhatNeedsNoRefreshAndNotUnderItsLock) {
  const auto callBack = [this](const auto&) { stack.events.add(stack.service->hasCredentials() ? "has" : "has none"); };
  stack.service->getOAuth2Credentials(callBack);
  stack.get("none");
  stack.forceRefresh("none");
  stack.keep(stack.tokens("valid", std::chrono::seconds(61)));
  stack.get("valid");
  stack.service->getOAuth2Credentials(callBack);
  stack.service->refreshRejectedOAuth2Credentials("access-rejected", callBack);
  stack.store->failLoads(UnwrapError{"the disk is on fire"});
  stack.get("unreadable");
  EXPECT_TRUE(stack.service->hasCredentials());

  EXPECT_THAT(stack.events.all(),
              ElementsAre("log4 Credentials not found", "has none", "log4 Credentials not found",
                          "get none OAuth2Error.credentialsNotFound", "log4 Credentials not found",
                          "refresh none OAuth2Error.credentialsNotFound", "get valid access-valid", "has", "has",
                          "log4 Did fail to load credentials: the disk is on fire", "get unreadable Optional.Error"));
}

TEST_F(CredentialsService, ConcurrentCallersShareOneRefreshAndAreAnsweredInOrder) {
  stack.keepExpiring();
  stack.get("first");
  stack.forceRefresh("second");
  stack.get("third");
  ASSERT_TRUE(stack.answers(0, stack.tokens("new")));
  ASSERT_TRUE(stack.happens("refresh second done"));
  ASSERT_TRUE(stack.posts("Success", 1));

  EXPECT_THAT(stack.events.all(), ElementsAre("request refresh-old", "get first access-new", "get third access-new",
                                              "refresh second done"));
  EXPECT_EQ(storedToken(), "access-new");
  EXPECT_THAT(stack.executor->openTasks(), ElementsAre());
}

TEST_F(CredentialsService, AForcedRefreshIgnoresTheExpiryAndACompletionMayCallBack) {
  stack.keep(stack.tokens("old"));
  stack.service->refreshOAuth2Credentials([&](Result<void>) {
    stack.get("again");
    stack.forceRefresh("again");
  });
  ASSERT_TRUE(stack.answers(0, stack.tokens("new")));
  ASSERT_TRUE(stack.answers(1, stack.tokens("newer")));
  ASSERT_TRUE(stack.happens("refresh again done"));

  EXPECT_THAT(events({"get", "request"}),
              ElementsAre("request refresh-old", "get again access-new", "request refresh-new"));
}

TEST_F(CredentialsService, OnlyAnInvalidRefreshTokenEndsTheSignIn) {
  const std::vector<Error> harmless = {
      CredentialsStack::serverError(500, "Invalid refresh token"),
      CredentialsStack::serverError(401, "invalid refresh token"),
      NetworkServiceError{NetworkServiceError::ServerError{makeResponse(401), nullptr}}, TaskError::cancelled};
  stack.keepExpiring();
  for (std::size_t i = 0; i < harmless.size(); ++i) {
    stack.get(std::to_string(i));
    ASSERT_TRUE(stack.answers(i, fail(harmless[i])));
    ASSERT_TRUE(stack.happens("get " + std::to_string(i) + " " + harmless[i].typeName()));
    ASSERT_TRUE(stack.posts("Failure", i + 1));
  }
  EXPECT_EQ(storedToken(), "access-old");
  EXPECT_EQ(stack.events.count("logout"), 0U);
}

TEST_F(CredentialsService, WithoutFallbackTheCallersFailAndTheLogoutIsAskedForOnce) {
  const auto manager = std::make_shared<FakeSilentAuthorization>(stack.events);
  const auto change = [&](const auto& edit) {
    auto records = stack.store->records();
    edit(records);
    stack.store->setRecords(records);
  };
  const std::vector<std::pair<std::string, std::function<void()>>> lacking = {
      {"a manager", [&] { stack.keepLegacySignIn(); }},
      {"a user",
       [&] {
         stack.service->setSilentAuthorizationManager(manager);
         change([](auto& records) { records.user.reset(); });
       }},
      {"a user who is not anonymous", [&] { stack.keepLegacySignIn(true); }},
      {"legacy data", [&] {
         stack.keepLegacySignIn();
         change([](auto& records) { records.legacyAuthData.reset(); });
       }}};
  for (std::size_t i = 0; i < lacking.size(); ++i) {
    SCOPED_TRACE(lacking[i].first);
    stack.keepExpiring();
    lacking[i].second();
    stack.get(std::to_string(i));
    ASSERT_TRUE(stack.answers(i, fail(CredentialsStack::invalidRefreshToken())));
    ASSERT_TRUE(stack.happens("logout", i + 1));
    ASSERT_TRUE(stack.happens("get " + std::to_string(i) + " NetworkServiceError.serverError"));
    EXPECT_EQ(stack.events.count("logout"), i + 1);
    EXPECT_EQ(events({"exchange"}).size(), 0U);
  }
  EXPECT_THAT(
      events({"log"}),
      Contains(AllOf(StartsWith("log4 Logout user due to Invalid refresh token: "), HasSubstr("401"))).Times(4));
  EXPECT_EQ(storedToken(), "access-old");
}

class Recovery : public CredentialsService {
 protected:
  void SetUp() override {
    CredentialsService::SetUp();
    stack.keepLegacySignIn();
    stack.keepExpiring();
    stack.service->setSilentAuthorizationManager(silent);
    stack.get("caller");
    ASSERT_TRUE(stack.answers(0, fail(CredentialsStack::invalidRefreshToken())));
    ASSERT_TRUE(stack.happens("exchange lxauth"));
  }
  std::shared_ptr<FakeSilentAuthorization> silent = std::make_shared<FakeSilentAuthorization>(stack.events);
};

TEST_F(Recovery, KeepsTheUserSignedIn) {
  silent->promise.complete(OAuth2AuthDTO{stack.tokens("recovered"), {}});
  ASSERT_TRUE(stack.happens("get caller access-recovered"));
  ASSERT_TRUE(stack.posts("Success", 1));

  EXPECT_THAT(events({"log"}),
              ElementsAre("log4 Using fallback credentials for silent authorization to prevent user logout",
                          "log2 Did recover OAuth2 credentials using fallback credentials"));
  EXPECT_EQ(storedToken(), "access-recovered");
  EXPECT_EQ(stack.events.count("logout"), 0U);
}

TEST_F(Recovery, ThatFailsLogsTwiceAsksForTheLogoutAndThenAnswersWithTheRefreshError) {
  // A delegate that revokes at once must neither change the callers' error nor cause a second notification.
  stack.delegate->onLogout = [&] { stack.service->revokeCredentials(); };
  silent->promise.complete(fail(UnwrapError{"no exchange today"}));
  ASSERT_TRUE(stack.happens("get caller NetworkServiceError.serverError"));
  ASSERT_TRUE(stack.happens("log2 Did cancel ongoing token refresh"));
  ASSERT_TRUE(stack.posts("Failure", 1));

  EXPECT_THAT(events({"log2 Did fail", "log4 Logout", "logout", "get"}),
              ElementsAre("log2 Did fail to recover using fallback credentials: no exchange today",
                          "log4 Logout user due to Invalid refresh token: " +
                              CredentialsStack::invalidRefreshToken().description(),
                          "logout", "get caller NetworkServiceError.serverError"));
  EXPECT_EQ(stack.posted("Failure"), 1U);
}

TEST_F(Recovery, ThatSucceedsAfterASignOutDoesNotUndoIt) {
  stack.store->setRecords({});
  silent->promise.complete(OAuth2AuthDTO{stack.tokens("recovered"), {}});
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsNotFound"));
  EXPECT_FALSE(stack.store->records().credentials);
}

TEST_F(Recovery, ThatFailsWhileTheStoreCannotBeReadIsNoReasonToSignOut) {
  stack.store->failLoads(UnwrapError{"written by a later version"});
  silent->promise.complete(fail(UnwrapError{"no exchange today"}));
  ASSERT_TRUE(stack.happens("get caller Optional.Error"));
  EXPECT_EQ(stack.events.count("logout"), 0U);
}

TEST_F(Recovery, TakesWhatTheStoreHasGotMeanwhile) {
  stack.keep(stack.tokens("signed-in-again"));
  silent->promise.complete(fail(UnwrapError{"too late anyway"}));
  ASSERT_TRUE(stack.happens("get caller access-signed-in-again"));
  EXPECT_EQ(stack.events.count("logout"), 0U);
}

TEST_F(Recovery, RefreshesWhatTheStoreHasGotMeanwhileIfItExpires) {
  stack.keep(stack.tokens("expiring", std::chrono::seconds(10)));
  silent->promise.complete(fail(UnwrapError{"too late anyway"}));
  ASSERT_TRUE(stack.answers(1, stack.tokens("new")));
  EXPECT_TRUE(stack.happens("get caller access-new"));
}

TEST_F(CredentialsService, AnInvalidRefreshTokenAndAStoreThatCannotBeReadAreNoReasonToSignOut) {
  stack.keepExpiring();
  const auto old = *stack.store->records().credentials;
  for (const bool isFallbackAlone : {false, true}) {
    stack.get("caller");
    ASSERT_TRUE(stack.happens("request refresh-old", isFallbackAlone ? 2 : 1));
    stack.store->failLoads(UnwrapError{"written by a later version"});
    if (isFallbackAlone) stack.store->answerNextLoad(old);
    ASSERT_TRUE(stack.answers(isFallbackAlone ? 1 : 0, fail(CredentialsStack::invalidRefreshToken())));
    ASSERT_TRUE(
        stack.happens(isFallbackAlone ? "get caller NetworkServiceError.serverError" : "get caller Optional.Error"));
    stack.store->failLoads(std::nullopt);
  }
  EXPECT_EQ(stack.events.count("log4 Did fail to load fallback credentials: written by a later version"), 1U);
  EXPECT_EQ(stack.events.count("logout"), 0U);
}

TEST_F(CredentialsService, AnInvalidRefreshTokenThatTheStoreNoLongerHoldsIsNoReasonToSignOut) {
  stack.keepExpiring();
  stack.get("first");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  stack.keep(stack.tokens("theirs"));
  ASSERT_TRUE(stack.answers(0, fail(CredentialsStack::invalidRefreshToken())));
  ASSERT_TRUE(stack.happens("get first access-theirs"));

  stack.keepExpiring();
  stack.get("second");
  ASSERT_TRUE(stack.happens("request refresh-old", 2));
  stack.keep(stack.tokens("expiring", std::chrono::seconds(10)));
  ASSERT_TRUE(stack.answers(1, fail(CredentialsStack::invalidRefreshToken())));
  ASSERT_TRUE(stack.happens("request refresh-expiring"));
  ASSERT_TRUE(stack.answers(2, stack.tokens("new")));
  ASSERT_TRUE(stack.happens("get second access-new"));
  EXPECT_EQ(stack.events.count("logout"), 0U);

  // An empty store has no other credentials: the app learns that the user is signed out.
  stack.forceRefresh("third");
  ASSERT_TRUE(stack.happens("request refresh-new"));
  stack.store->setRecords({});
  ASSERT_TRUE(stack.answers(3, fail(CredentialsStack::invalidRefreshToken())));
  EXPECT_TRUE(stack.happens("logout"));
  EXPECT_TRUE(stack.happens("refresh third NetworkServiceError.serverError"));
}

TEST_F(CredentialsService, SpendsNoRefreshTokenIfTheStoreCannotBeWrittenOrRecoversAPair) {
  stack.keepExpiring();
  stack.store->failPreparations(UnwrapError{"disk full"});
  stack.get("first");
  ASSERT_TRUE(stack.happens("get first Optional.Error"));
  ASSERT_TRUE(stack.posts("Failure", 1));
  stack.store->failPreparations(std::nullopt);
  stack.store->recoverNext(stack.tokens("recovered"));
  stack.get("second");
  ASSERT_TRUE(stack.happens("get second access-recovered"));
  EXPECT_EQ(events({"request"}).size(), 0U);
}

TEST_F(CredentialsService, RevokingCancelsTheRefreshForGood) {
  stack.keepExpiring();
  stack.get("caller");
  stack.forceRefresh("caller");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  const auto revoked = stack.service->revokeCredentials();
  stack.get("next");  // starts a refresh of its own, which the cancel must not hit
  ASSERT_TRUE(stack.happens("request refresh-old", 2));
  stack.refresh->answer(0, stack.tokens("too-late"));
  stack.refresh->answer(1, stack.tokens("next"));
  ASSERT_TRUE(stack.happens("get next access-next"));
  ASSERT_TRUE(stack.posts("Success", 1));

  EXPECT_TRUE(revoked.result()->has_value());
  EXPECT_EQ(stack.events.count("request cancelled"), 1U);
  EXPECT_EQ(stack.events.count("revoke refresh-old"), 1U);
  EXPECT_THAT(
      events({"get", "refresh", "log"}),
      ElementsAre("log2 Did cancel ongoing token refresh", "get caller OAuth2Error.credentialsRefreshWasCancelled",
                  "refresh caller OAuth2Error.credentialsRefreshWasCancelled", "get next access-next"));
  EXPECT_EQ(stack.posted("Failure"), 1U);
  EXPECT_EQ(storedToken(), "access-next");
}

TEST_F(CredentialsService, AnExpiredBackgroundTaskLeavesTheRefreshRunning) {
  stack.keepExpiring();
  stack.get("caller");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  EXPECT_THAT(stack.executor->openTasks(), ElementsAre("Token Refresh"));
  stack.executor->expireAll();
  ASSERT_TRUE(stack.answers(0, stack.tokens("new")));
  ASSERT_TRUE(stack.happens("get caller access-new"));
  ASSERT_TRUE(stack.happens("log3 Unbalanced call to end background task"));

  EXPECT_THAT(events({"log"}), ElementsAre("log4 Background Refresh Task has reached timeout",
                                           "log3 Unbalanced call to end background task"));
  EXPECT_THAT(stack.executor->openTasks(), ElementsAre());
}

// Numbers the background tasks and hands out their expiration handlers.
class NumberingExecutor final : public BackgroundExecutor {
 public:
  explicit NumberingExecutor(EventLog& events) : events_(events) {}
  Identifier beginBackgroundTask(std::string /*name*/, std::function<void()> expirationHandler) override {
    handlers.push_back(std::move(expirationHandler));
    events_.add("begin " + std::to_string(handlers.size()));
    if (onBegin) onBegin();
    return handlers.size();
  }
  void endBackgroundTask(Identifier identifier) override { events_.add("end " + std::to_string(identifier)); }

  std::vector<std::function<void()>> handlers;
  std::function<void()> onBegin;  // before the identifier is known

 private:
  EventLog& events_;
};

class BackgroundTask : public CredentialsService {
 protected:
  const std::shared_ptr<NumberingExecutor> executor = std::make_shared<NumberingExecutor>(stack.events);

  void SetUp() override {
    CredentialsService::SetUp();
    const std::shared_ptr<InMemoryCredentialsStorage> store(stack.store.get(),
                                                            [this](auto*) { stack.events.add("service destroyed"); });
    stack.service =
        OAuth2CredentialsServiceImpl::make(store, stack.refresh, *fileURL(lockFile), executor, {}, stack.clock);
    stack.keepExpiring();
  }
  const std::string lockFile = folder.file("other.lock");
};

TEST_F(BackgroundTask, EndsOnlyItselfWhenItExpires) {
  executor->onBegin = [&] { executor->handlers.back()(); };
  stack.get("first");
  ASSERT_TRUE(stack.answers(0, fail(UnwrapError{"offline"})));
  ASSERT_TRUE(stack.happens("log3 Unbalanced call to end background task"));
  executor->onBegin = nullptr;
  stack.get("second");
  ASSERT_TRUE(stack.happens("request refresh-old", 2));
  stack.keep(stack.tokens("theirs", std::chrono::seconds(10)));
  ASSERT_TRUE(stack.answers(1, stack.tokens("late")));
  ASSERT_TRUE(stack.happens("request refresh-theirs"));
  executor->handlers[1]();
  ASSERT_TRUE(stack.answers(2, stack.tokens("new")));
  ASSERT_TRUE(stack.happens("end 3"));

  EXPECT_THAT(events({"begin", "end", "log"}),
              ElementsAre("begin 1", "log4 Background Refresh Task has reached timeout", "end 1",
                          "log3 Unbalanced call to end background task", "begin 2", "begin 3", "end 2", "end 3"));
}

TEST_F(BackgroundTask, EndsWithItsRequestWhenTheRefreshIsRevokedBeforeEither) {
  stack.get("caller");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  executor->onBegin = [&] {
    stack.service->revokeCredentials();
    EXPECT_TRUE(stack.happens("log2 Did cancel ongoing token refresh"));
  };
  stack.keep(stack.tokens("theirs", std::chrono::seconds(10)));
  ASSERT_TRUE(stack.answers(0, stack.tokens("late")));
  EXPECT_TRUE(stack.happens("request cancelled"));
  EXPECT_TRUE(stack.happens("end 2"));
  EXPECT_TRUE(stack.happens("get caller OAuth2Error.credentialsRefreshWasCancelled"));
}

TEST_F(BackgroundTask, EndsWithTheServiceWhichReleasesTheLockAndStoresNothing) {
  stack.get("caller");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  stack.service.reset();
  ASSERT_TRUE(stack.happens("service destroyed"));
  EXPECT_EQ(stack.events.count("end 1"), 1U);
  EXPECT_TRUE(FileLock::make(lockFile).value()->try_());
  stack.refresh->answer(0, stack.tokens("late"));
  MainQueue::shared()->drain();
  EXPECT_EQ(storedToken(), "access-old");
  EXPECT_EQ(events({"get"}).size(), 0U);
}

TEST_F(CredentialsService, APairThatTheStoreDoesNotTakeIsKeptAndStoredLater) {
  stack.keepExpiring();
  stack.store->failStores(UnwrapError{"disk full"});
  stack.get("caller");
  ASSERT_TRUE(stack.answers(0, stack.tokens("new")));
  ASSERT_TRUE(stack.happens("get caller access-new"));
  stack.forceRefresh("caller");
  ASSERT_TRUE(stack.answers(1, stack.tokens("newer")));
  ASSERT_TRUE(stack.happens("refresh caller done"));
  EXPECT_EQ(storedToken(), "access-old");
  stack.store->failStores(std::nullopt);
  // It may hold another sign-in by now: nothing is written before it can be read.
  stack.store->failLoads(UnwrapError{"busy"});
  stack.get("beside");
  EXPECT_EQ(stack.events.count("get beside access-newer"), 1U);
  EXPECT_EQ(storedToken(), "access-old");
  stack.store->failLoads(std::nullopt);
  stack.clock->manual.advance(std::chrono::seconds(1));
  stack.get("later");

  EXPECT_EQ(stack.events.count("get later access-newer"), 1U);
  EXPECT_EQ(storedToken(), "access-newer");
  EXPECT_EQ(stack.posted("Success"), 0U);
  EXPECT_THAT(events({"log4"}), Contains(HasSubstr("disk full")));
}

TEST_F(CredentialsService, ALateAnswerDoesNotOverwriteWhatWasStoredSince) {
  stack.keepExpiring();
  stack.get("first");
  ASSERT_TRUE(stack.happens("request refresh-old"));
  stack.keep(stack.tokens("other-user"));
  ASSERT_TRUE(stack.answers(0, stack.tokens("late")));
  ASSERT_TRUE(stack.happens("get first access-other-user"));

  stack.keepExpiring();
  stack.get("second");
  ASSERT_TRUE(stack.happens("request refresh-old", 2));
  stack.store->setRecords({});  // signed out
  ASSERT_TRUE(stack.answers(1, stack.tokens("late")));
  ASSERT_TRUE(stack.happens("get second OAuth2Error.credentialsNotFound"));
  EXPECT_FALSE(stack.store->records().credentials);

  // Expiring credentials that turn up in the store are refreshed once, and taken as they are the next time.
  stack.keepExpiring();
  stack.get("third");
  ASSERT_TRUE(stack.happens("request refresh-old", 3));
  stack.keep(stack.tokens("expiring", std::chrono::seconds(10)));
  ASSERT_TRUE(stack.answers(2, stack.tokens("late")));
  ASSERT_TRUE(stack.happens("request refresh-expiring"));
  stack.keep(stack.tokens("expiring-too", std::chrono::seconds(10)));
  ASSERT_TRUE(stack.answers(3, stack.tokens("late")));
  EXPECT_TRUE(stack.happens("get third access-expiring-too"));
}

TEST_F(CredentialsService, AnAnswerIsKeptWhileTheStoreCannotBeRead) {
  // Until it is stored, a pair is dropped as soon as the store holds anything but what it replaces.
  for (std::size_t round = 0; round < 3; ++round) {
    stack.keepExpiring();
    stack.get("first");
    ASSERT_TRUE(stack.happens("request refresh-old", round + 1));
    stack.store->failLoads(UnwrapError{"written by a later version"});
    ASSERT_TRUE(stack.answers(round, stack.tokens("new")));
    ASSERT_TRUE(stack.happens("get first access-new", round + 1));
    EXPECT_EQ(storedToken(), "access-old");
    if (round == 1) stack.store->setRecords({});
    if (round == 2) stack.keep(stack.tokens("other-user"));
    stack.store->failLoads(std::nullopt);
    stack.get("later");
    EXPECT_EQ(stack.store->records().credentials.has_value(), round != 1) << "a sign-out was undone";
  }
  EXPECT_THAT(events({"get later"}), ElementsAre("get later access-new", "get later OAuth2Error.credentialsNotFound",
                                                 "get later access-other-user"));
}

TEST_F(CredentialsService, WorksWithoutALockFile) {
  CredentialsStack lockless(folder.path() + "/missing");
  EXPECT_THAT(events({"log4"}), ElementsAre(StartsWith("log4 File lock initialization failed: ")));
  lockless.keepExpiring();
  lockless.get("caller");
  ASSERT_TRUE(lockless.answers(0, lockless.tokens("new")));
  EXPECT_TRUE(lockless.happens("get caller access-new"));
}

TEST_F(CredentialsService, LocksTheFileOfAFolderWithAnyNameAndNoneOfAURLThatNamesNoFile) {
  for (const auto* name : {"g plain", "g\xc3\xa9", "g%41b", "g#x"}) {
    const auto group = folder.file(name);
    std::filesystem::create_directory(group);
    CredentialsStack named(group);
    EXPECT_TRUE(std::filesystem::exists(group + "/refresh.lock")) << name;
  }
  const auto service = OAuth2CredentialsServiceImpl::make(
      stack.store, stack.refresh, *URL::make("file://" + folder.path() + "/g#x"), stack.executor, {}, stack.clock);
  EXPECT_THAT(events({"log4"}), ElementsAre(StartsWith("log4 File lock initialization failed: ")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("g")));
}

TEST_F(CredentialsService, AnswersEveryCallerUnderStressWhileTheClockMoves) {
  constexpr int threads = 64;
  constexpr int each = 20;
  stack.keepExpiring();
  std::atomic<int> answers = 0;
  std::atomic<bool> finished = false;
  std::vector<std::jthread> callers;
  const auto count = [&](const auto&) {
    ++answers;
    MainQueue::shared()->wake();
  };
  for (int t = 0; t < threads; ++t) {
    callers.emplace_back([&, t] {
      for (int i = 0; i < each; ++i) {
        if (t % 16 == 15 && i % 5 == 0) {
          stack.service->revokeCredentials().finally(count);
        } else if ((t + i) % 3 == 0) {
          stack.service->refreshOAuth2Credentials(count);
        } else {
          stack.service->getOAuth2Credentials(count);
        }
      }
    });
  }
  std::jthread backend([&] {
    for (std::size_t next = 0; !finished;) {
      std::optional<Promise<OAuth2Credentials>> promise = stack.refresh->requests.withLock([&](auto& pending) {
        return next < pending.size() ? std::optional(std::move(pending[next])) : std::nullopt;
      });
      if (!promise) continue;
      stack.clock->manual.advance(std::chrono::seconds(40));
      promise->complete(stack.tokens(std::to_string(next++), std::chrono::seconds(90)));
    }
  });
  EXPECT_TRUE(MainQueue::shared()->runUntil([&] { return answers == threads * each; }, std::chrono::seconds(60)));
  finished = true;
}

}  // namespace
}  // namespace lx
