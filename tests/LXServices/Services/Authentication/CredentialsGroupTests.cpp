#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CredentialsStack.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

// Another process of the group holds the lock, and the stack under test waits for it.
class WaitingForAnotherProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    Logging::setSink({&stack.events, [](LogSink*) {}}, 2);
    ASSERT_TRUE(lock->try_());
    stack.keepExpiring();
    stack.get("caller");
    ASSERT_TRUE(stack.happens("log2 File already locked"));
    // The wait is set up once its first look at the lock has led to the next one.
    ASSERT_TRUE(stack.waits());
    EXPECT_TRUE(stack.executor->openTasks().empty());
    EXPECT_TRUE(stack.refresh->requests.withLock([](auto& pending) { return pending.empty(); }));
  }
  void TearDown() override { Logging::setSink(nullptr); }

  // Posts and returns when the stack has handled it: its observer is older than this one's.
  void postAndHandle(const char* name) {
    bool isHandled = false;
    const auto token = stack.center->addObserver(name, MainQueue::shared(), [&] { isHandled = true; });
    stack.center->post(name);
    EXPECT_TRUE(MainQueue::shared()->runUntil([&] { return isHandled; }, std::chrono::seconds(20)));
    stack.center->removeObserver(token);
  }

  TemporaryFolder folder;
  CredentialsStack stack{folder.path()};
  std::unique_ptr<FileLock> lock = *FileLock::make(folder.path() + "/refresh.lock");
  TokenRefreshNotificationsManagerImpl other{DarwinNotificationCenter::forFolder(folder.path() + "/notifications")};
};

TEST_F(WaitingForAnotherProcess, ItsSuccessGivesTheStoredCredentialsToAllAndIsPassedOn) {
  stack.forceRefresh("caller");
  stack.keep(stack.tokens("theirs"));
  const auto stores = stack.store->credentialStores();
  other.postSuccess();
  ASSERT_TRUE(stack.happens("refresh caller done"));
  ASSERT_TRUE(stack.posts("Success", 2));

  EXPECT_EQ(stack.events.count("get caller access-theirs"), 1U);
  EXPECT_EQ(stack.store->credentialStores(), stores + 1);
}

TEST_F(WaitingForAnotherProcess, ItsFailureFailsAllAndIsPassedOn) {
  stack.keep(stack.tokens("theirs", std::chrono::seconds(10)));  // which a waiter may not refresh
  other.postFailure();
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsRefreshGenericError"));
  EXPECT_TRUE(stack.posts("Failure", 2));
}

TEST_F(WaitingForAnotherProcess, AFailureOfAnEarlierRefreshDoesNotEndTheWaitForTheOneUnderWay) {
  ASSERT_TRUE(lock->setContents("refreshing\n"));
  postAndHandle(TokenRefreshNotificationsManagerImpl::failureName);
  stack.keep(stack.tokens("theirs"));
  other.postSuccess();
  ASSERT_TRUE(stack.happens("get caller access-theirs"));
  EXPECT_EQ(stack.events.count("get caller OAuth2Error.credentialsRefreshGenericError"), 0U);
  EXPECT_EQ(stack.posted("Failure"), 1U);
}

TEST_F(WaitingForAnotherProcess, AFailureCountsOnceTheHolderIsDead) {
  ASSERT_TRUE(lock->setContents("refreshing\n"));
  lock.reset();
  other.postFailure();
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsRefreshGenericError"));
  const auto next = FileLock::make(folder.path() + "/refresh.lock");
  EXPECT_TRUE((*next)->try_()) << "looking at the lock must not keep it";
}

TEST_F(WaitingForAnotherProcess, GoodCredentialsInTheStoreAreTheAnswerWhileTheLockIsStillHeld) {
  stack.keep(stack.tokens("theirs"));
  stack.clock->manual.advance(std::chrono::milliseconds(250));
  EXPECT_TRUE(stack.happens("get caller access-theirs"));
}

TEST_F(WaitingForAnotherProcess, AnEmptyStoreAfterItsSuccessIsCredentialsNotFound) {
  stack.store->setRecords({});
  other.postSuccess();
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsNotFound"));
  EXPECT_TRUE(stack.posts("Failure", 1));
  EXPECT_EQ(stack.events.count("log4 Credentials not found"), 1U);
}

TEST_F(WaitingForAnotherProcess, CredentialsThatItLeftExpiringAreRefreshedOnce) {
  stack.keep(stack.tokens("theirs", std::chrono::seconds(10)));
  lock.reset();
  stack.clock->manual.advance(std::chrono::milliseconds(250));
  ASSERT_TRUE(stack.answers(0, stack.tokens("ours", std::chrono::seconds(10))));
  ASSERT_TRUE(stack.happens("get caller access-ours"));
  EXPECT_EQ(stack.events.count("request refresh-theirs"), 1U);
}

TEST_F(WaitingForAnotherProcess, RevokingEndsTheWait) {
  stack.service->revokeCredentials();
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsRefreshWasCancelled"));
  EXPECT_TRUE(stack.posts("Failure", 1));
  auto events = stack.events.all();
  EXPECT_EQ(std::erase(events, "revoke refresh-old"), 1U);  // on another thread than the rest
  EXPECT_THAT(events, ElementsAre("log2 File already locked", "log3 Unbalanced call to end background task",
                                  "log2 Did cancel ongoing token refresh",
                                  "get caller OAuth2Error.credentialsRefreshWasCancelled"));
}

TEST_F(WaitingForAnotherProcess, ASuccessOfAnEarlierRefreshDoesNotEndTheWait) {
  postAndHandle(TokenRefreshNotificationsManagerImpl::successName);
  EXPECT_EQ(stack.events.count("get caller access-old"), 0U);
  stack.keep(stack.tokens("theirs", std::chrono::seconds(10)));  // expiring, but posted as the outcome
  other.postSuccess();
  EXPECT_TRUE(stack.happens("get caller access-theirs"));
  EXPECT_LE(stack.clock->manual.pendingTimers(), 1U);
}

TEST_F(WaitingForAnotherProcess, TheCancelOfOneWaitIsNotHeardByTheNext) {
  stack.service->revokeCredentials();
  stack.get("next");
  ASSERT_TRUE(stack.happens("log2 File already locked", 2));
  ASSERT_TRUE(stack.happens("get caller OAuth2Error.credentialsRefreshWasCancelled"));
  ASSERT_TRUE(stack.waits(2));  // the first wait's timer is still there
  stack.keep(stack.tokens("theirs"));
  lock.reset();
  stack.clock->manual.advance(std::chrono::milliseconds(250));
  EXPECT_TRUE(stack.happens("get next access-theirs"));
  EXPECT_EQ(stack.posted("Failure"), 1U);
}

TEST_F(WaitingForAnotherProcess, AtTheBoundAndAtAFailureGoodCredentialsInTheStoreAreTheAnswer) {
  stack.keep(stack.tokens("theirs"));
  other.postFailure();
  ASSERT_TRUE(stack.happens("get caller access-theirs"));
  stack.keepExpiring();
  stack.get("second");
  ASSERT_TRUE(stack.happens("log2 File already locked", 2));
  ASSERT_TRUE(stack.waits(2));
  stack.keep(stack.tokens("late"));
  stack.clock->manual.advance(std::chrono::seconds(61));
  EXPECT_TRUE(stack.happens("get second access-late"));
  stack.keepExpiring();
  stack.get("third");
  ASSERT_TRUE(stack.happens("log2 File already locked", 3));
  ASSERT_TRUE(stack.waits());
  stack.clock->manual.advance(std::chrono::seconds(61));
  EXPECT_TRUE(stack.happens("get third OAuth2Error.credentialsRefreshGenericError"));
  EXPECT_EQ(stack.posted("Failure"), 1U) << "only the other process's own";
}

TEST(CredentialsGroup, CredentialsThatAnotherProcessHasExchangedAreNotSentAgain) {
  TemporaryFolder folder;
  CredentialsStack first(folder.path());
  CredentialsStack second(folder.path(), first.store);
  first.keepExpiring();
  const auto old = *first.store->records().credentials;
  first.get("first");
  ASSERT_TRUE(first.answers(0, first.tokens("new")));
  ASSERT_TRUE(first.happens("get first access-new"));

  // The second process read the old credentials before that, and gets to the lock only now.
  second.store->answerNextLoad(old);
  second.get("second");
  ASSERT_TRUE(second.happens("get second access-new"));
  EXPECT_EQ(second.events.count("request refresh-old"), 0U);

  // Nor while the store cannot tell.
  second.store->answerNextLoad(old);
  second.store->failLoads(UnwrapError{"unreadable"});
  second.get("unreadable");
  ASSERT_TRUE(second.happens("get unreadable Optional.Error"));
  EXPECT_EQ(second.events.count("request refresh-old"), 0U);
  second.store->failLoads(std::nullopt);

  // Only a store that really holds them again has them sent.
  second.keep(old);
  second.get("third");
  ASSERT_TRUE(second.answers(0, fail(CredentialsStack::invalidRefreshToken())));
  ASSERT_TRUE(second.happens("get third NetworkServiceError.serverError"));
  // Whoever exchanged them holds their successor: this is no reason to sign out.
  ASSERT_TRUE(second.posts("Failure", 1));
  EXPECT_EQ(second.events.count("logout"), 0U);
}

}  // namespace
}  // namespace lx
