#include <algorithm>
#include <random>

#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/System/DarwinNotificationCenter.h"

#include "e2e/Group.h"
#include "e2e/Rounds.h"

// One of five processes that need a refresh at the same time is killed at a random moment of it, over and over.

namespace lx {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr int usualRounds = 110;  // of each of the two tests
constexpr int survivorCount = 4;

class GroupKill : public GroupTest {
 protected:
  void SetUp() override {
    GroupTest::SetUp();
    backend->addFault(std::string("POST ") + tokenPath + " refresh_token",
                      {.delay = milliseconds(4), .count = std::nullopt});
    for (const auto* name : {"Success", "Failure"}) {
      center_->addObserver(notification(name), MainQueue::shared(), [] {});
    }
    for (int i = 0; i < survivorCount; ++i) survivors_.push_back(startReady("survivor", {"poll=15"}));
    victim_ = startReady("victim", {"poll=15"});
    measureSpan();
  }

  /// How long a process takes from being asked to its answer when nobody disturbs it: the time to kill it in.
  void measureSpan() {
    signInExpired();
    const auto start = Clock::system()->steadyNow().time_since_epoch();
    victim_->process.writeLine("get 1");
    span_ = victim_->answer().time - start;
    victim_ = startReady("victim", {"poll=15"});
  }

  /// The containers of the processes that sent refreshes since `first`.
  std::vector<std::string> sendersSince(std::size_t first) const {
    std::vector<std::string> senders;
    for (const auto& entry : backend->journal().entries()) {
      if (entry.grant != "refresh_token" || entry.sequence <= static_cast<std::int64_t>(first)) continue;
      const auto header =
          std::ranges::find(entry.headers, "X-Container-Id", &std::pair<std::string, std::string>::first);
      senders.push_back(header == entry.headers.end() ? "" : header->second);
    }
    return senders;
  }

  /// Kills the victim somewhere in its refresh, now and then for certain after it has sent it, and gives what the
  /// survivors' callers got.
  std::vector<ProbeAnswer> playRound(int round) {
    auto next = start("victim", {"poll=15"});
    const auto share = [&](double most) {
      return std::chrono::duration_cast<nanoseconds>(span_ * std::uniform_real_distribution(0.0, most)(random_));
    };
    const auto delay = share(1.1);
    // A head start that lets the victim get to the lock before the others, most of the time.
    const auto headStart = std::min(delay, share(0.4));
    const auto refreshes = backend->journal().count(tokenPath, "refresh_token");
    victim_->process.writeLine("get 1");
    if (round % 10 == 0) {
      EXPECT_TRUE(backend->journal().waitForRequests(refreshes + 1, tokenPath, watchdog, "refresh_token"));
    } else {
      victim_->process.hasOutput(headStart);
    }
    for (const auto& survivor : survivors_) survivor->process.writeLine("get 1");
    victim_->process.hasOutput(delay - headStart);
    victim_->process.kill();
    stored();
    std::vector<ProbeAnswer> answers;
    for (const auto& survivor : survivors_) {
      answers.push_back(survivor->answer());
      stored();
    }
    arrive(*next);
    victim_ = std::move(next);
    return answers;
  }

  std::shared_ptr<DarwinNotificationCenter> center_ = DarwinNotificationCenter::forFolder(folder.file("notifications"));
  std::vector<std::unique_ptr<Probe>> survivors_;
  std::unique_ptr<Probe> victim_;
  nanoseconds span_{};
  std::mt19937 random_{20'240'115};
};

TEST_F(GroupKill, NothingIsLostWhenTheServerAnswersALostExchangeAgain) {
  backend->setRefreshGrace(std::chrono::hours(1));
  std::ptrdiff_t victimRequests = 0;
  for (int round = 0; round < rounds(usualRounds) && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const auto old = signInExpired();
    const auto before = backend->journal().count();
    const auto answers = playRound(round);
    const auto current = stored();
    EXPECT_NE(current.refreshToken, old.refreshToken);
    for (const auto& answer : answers) EXPECT_TRUE(answer.holds(current)) << answer.error;
    survivors_.front()->process.writeLine("user");
    EXPECT_EQ(survivors_.front()->process.readLine(), "user 1001");
    victimRequests += std::ranges::count(sendersSince(before), "victim");
  }
  for (const auto& survivor : survivors_) EXPECT_EQ(survivor->logouts(), 0);
  EXPECT_GT(victimRequests, 0);
}

TEST_F(GroupKill, WithoutSuchAServerALossIsATypedErrorAndARequestToLogOut) {
  int logoutsBefore = 0;
  for (int round = 0; round < rounds(usualRounds) && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const auto old = signInExpired();
    const auto before = backend->journal().count();
    const auto failuresBefore = posts("Failure");
    const auto answers = playRound(round);
    const auto current = stored();
    int logouts = 0;
    for (const auto& survivor : survivors_) logouts += survivor->logouts();
    const bool isLost = current.refreshToken == old.refreshToken;
    if (!isLost) {
      for (const auto& answer : answers) EXPECT_TRUE(answer.holds(current)) << answer.error;
      EXPECT_EQ(logouts, logoutsBefore);
      continue;
    }
    EXPECT_EQ(current, old);
    EXPECT_GT(std::ranges::count(sendersSince(before), "victim"), 0) << "only its death can lose an answer";
    EXPECT_GT(logouts, logoutsBefore);
    logoutsBefore = logouts;
    std::size_t refused = 0;
    for (const auto& answer : answers) {
      EXPECT_THAT(answer.error,
                  ::testing::AnyOf("NetworkServiceError.serverError", "OAuth2Error.credentialsRefreshGenericError"));
      if (answer.error == "NetworkServiceError.serverError") ++refused;
    }
    EXPECT_GT(refused, 0U);
    // Once every survivor has told the others of its failure, what is posted belongs to the next round.
    const auto posted = [&] { return posts("Failure") >= failuresBefore + survivorCount; };
    EXPECT_TRUE(MainQueue::shared()->runUntil(posted, watchdog));
  }
}

}  // namespace
}  // namespace lx
