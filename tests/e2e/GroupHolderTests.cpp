#include "e2e/Group.h"

// What the other processes of a group get when the one that refreshes stops, or dies at an awkward moment.

namespace lx {
namespace {

using std::chrono::milliseconds;

class GroupHolder : public GroupTest {
 protected:
  /// The next refreshes are answered after `delay`. Without `processed` the server refuses them then, their tokens
  /// unspent.
  void delayRefreshes(std::chrono::milliseconds delay, bool processed, std::int64_t count = 1) const {
    Fault fault{.delay = delay, .count = count};
    if (!processed) fault.effect = Fault::Status{.status = 503};
    backend->addFault(std::string("POST ") + tokenPath + " refresh_token", fault);
  }

  /// A process whose refresh is under way at the server.
  std::unique_ptr<Probe> startHolder(const std::vector<std::string>& settings = {},
                                     const std::string& command = "get 1") const {
    auto holder = startReady("holder", settings);
    const auto before = refreshes();
    holder->process.writeLine(command);
    EXPECT_TRUE(waitForRefreshes(before + 1));
    return holder;
  }
};

TEST_F(GroupHolder, AStoppedOneLetsTheOthersFailAndOverwritesNothingLater) {
  signInExpired();
  auto waiter = startReady("waiter", {"bound=600"});
  delayRefreshes(std::chrono::seconds(1), true);
  const auto holder = startHolder();
  holder->process.signal(SIGSTOP);

  const auto start = Clock::system()->steadyNow().time_since_epoch();
  waiter->process.writeLine("get 8");
  const auto failed = waiter->answers();
  EXPECT_EQ(failed.size(), 8U);
  for (const auto& answer : failed) {
    EXPECT_EQ(answer.error, "OAuth2Error.credentialsRefreshGenericError");
    EXPECT_GE(answer.time - start, milliseconds(600));
  }
  EXPECT_EQ(posts("Failure"), 0U) << "it may be at work yet";

  // The answer to the stopped process is about credentials that nobody has any more.
  const auto newer = signIn(std::chrono::hours(1));
  holder->process.signal(SIGCONT);
  EXPECT_TRUE(holder->answer().holds(newer));
  EXPECT_EQ(stored(), newer);
  waiter->process.writeLine("get 1");
  EXPECT_TRUE(waiter->answer().holds(newer));
  EXPECT_EQ(refreshes(), 1U);
  EXPECT_EQ(waiter->logouts() + holder->logouts(), 0);
}

TEST_F(GroupHolder, AKilledOneIsSucceededSoon) {
  for (int round = 0; round < 5; ++round) {
    const auto old = signInExpired();
    auto waiter = startReady("waiter");
    delayRefreshes(std::chrono::hours(1), false);
    const auto holder = startHolder();
    waiter->process.writeLine("get 4");
    // It waits: nothing is printed, and nothing is sent, for longer than it takes to ask.
    EXPECT_FALSE(waiter->process.hasOutput(milliseconds(50)));
    const auto before = refreshes();
    const auto killed = Clock::system()->steadyNow();
    holder->process.kill();
    ASSERT_TRUE(waitForRefreshes(before + 1));
    EXPECT_LT(Clock::system()->steadyNow() - killed, std::chrono::seconds(5));
    const auto answers = waiter->answers();
    EXPECT_EQ(answers.size(), 4U);
    const auto current = stored();
    EXPECT_NE(current, old);
    for (const auto& answer : answers) EXPECT_TRUE(answer.holds(current)) << answer.error;
  }
}

TEST_F(GroupHolder, OneThatDiesLeavesItsAnswerToTheOthersOrIsSucceededByWhoAsksAgain) {
  backend->setRefreshGrace(std::chrono::hours(1));
  for (const auto& [death, requests] : {std::pair("afterStore", 1U), {"inAnswer", 1U}, {"beforeStore", 2U}}) {
    SCOPED_TRACE(death);
    const auto old = signInExpired();
    auto waiter = startReady("waiter");
    const auto before = refreshes();
    delayRefreshes(milliseconds(300), true);
    const auto holder = startHolder({std::string("die=") + death});
    waiter->process.writeLine("get 4");
    const auto answers = waiter->answers();
    EXPECT_EQ(holder->process.readLine(), "(ended)");
    EXPECT_NE(stored(), old);
    EXPECT_EQ(answers.size(), 4U);
    for (const auto& answer : answers) EXPECT_TRUE(answer.holds(stored())) << answer.error;
    EXPECT_EQ(refreshes(), before + requests) << "a token whose successor is stored is not spent twice";
  }
}

TEST_F(GroupHolder, RefreshesThatAreForcedWhileOneIsUnderWayShareIt) {
  const auto old = signIn(std::chrono::hours(1));
  std::vector<std::unique_ptr<Probe>> probes;
  for (int i = 0; i < 3; ++i) probes.push_back(startReady("waiter"));
  delayRefreshes(milliseconds(500), true);
  probes.push_back(startHolder({}, "refresh 4"));
  for (int i = 0; i < 3; ++i) probes[static_cast<std::size_t>(i)]->process.writeLine("refresh 4");
  for (const auto& probe : probes) {
    const auto answers = probe->answers();
    EXPECT_EQ(answers.size(), 4U);
    for (const auto& answer : answers) EXPECT_TRUE(answer.holds(stored())) << answer.error;
  }
  EXPECT_NE(stored(), old);
  EXPECT_EQ(refreshes(), 1U);
}

}  // namespace
}  // namespace lx
