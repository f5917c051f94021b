#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "LXUtils/System/DarwinNotificationCenter.h"

#include "e2e/Group.h"
#include "e2e/Rounds.h"

// What a process of the group stores late, when the user has signed in or out meanwhile in another one.

namespace lx {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

class GroupStore : public GroupTest {
 protected:
  // What another process does to the store while a refresh is under way.
  enum class Change { signInOfAnotherUser, migration, signOut };
  static constexpr std::array changes{Change::signInOfAnotherUser, Change::migration, Change::signOut};

  /// Carries the change out, and sets `expected` to the credentials that the store must hold from then on.
  Result<void> carryOut(Change change, std::optional<OAuth2Credentials>& expected) const {
    expected.reset();
    if (change == Change::signOut) return store->signOut();
    const auto minted = backend->mintCredentials(change == Change::migration ? "ordinary" : "managed").value();
    expected = {minted.accessToken, minted.refreshToken, Clock::system()->now() + std::chrono::hours(1)};
    return change == Change::migration ? store->storeOAuth2Credentials(expected)
                                       : store->storeSignIn(OAuth2AuthDTO{*expected, {}});
  }

  /// Expects that the change holds, whatever the process that refreshed meanwhile has stored or answered.
  void expectHolds(const std::optional<OAuth2Credentials>& expected) const {
    const auto loaded = store->loadOAuth2Credentials();
    ASSERT_TRUE(loaded) << loaded.error().description();
    EXPECT_EQ(*loaded, expected);
    if (!expected) {
      EXPECT_THAT(filesWithTokens(), ::testing::IsEmpty());
    }
  }

  /// The files of the group that hold a token: their records name it so.
  std::vector<std::string> filesWithTokens() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      if (!entry.is_regular_file()) continue;
      std::ostringstream text;
      text << std::ifstream(entry.path()).rdbuf();
      if (text.str().contains("oken\"")) found.push_back(entry.path().filename());
    }
    return found;
  }

  std::mt19937 random_{20'240'115};
};

TEST_F(GroupStore, AChangeHoldsThatComesWhileARefreshWritesItsAnswer) {
  for (int round = 0; round < rounds(3) && !HasFailure(); ++round) {
    for (const auto change : changes) {
      SCOPED_TRACE("round " + std::to_string(round) + ", change " + std::to_string(static_cast<int>(change)));
      signInExpired();
      auto probe = startReady("late", {"hold=sync"});
      probe->process.writeLine("get 1");
      ASSERT_EQ(probe->process.readLine(), "syncing");
      std::optional<OAuth2Credentials> expected;
      ASSERT_TRUE(carryOut(change, expected));
      probe->process.writeLine("go");
      const auto answer = probe->answer();
      if (expected) {
        EXPECT_TRUE(answer.holds(*expected)) << answer.error;
      } else {
        EXPECT_EQ(answer.error, "OAuth2Error.credentialsNotFound");
      }
      EXPECT_EQ(probe->logouts(), 0);
      expectHolds(expected);
    }
  }
}

TEST_F(GroupStore, AChangeHoldsThatComesAtAnyMomentOfARefreshAlsoOfAStoppedProcess) {
  backend->addFault(std::string("POST ") + tokenPath + " refresh_token",
                    {.delay = milliseconds(2), .count = std::nullopt});
  auto probe = startReady("late");
  for (int round = 0; round < rounds(30) && !HasFailure(); ++round) {
    const auto change = changes[static_cast<std::size_t>(round) % changes.size()];
    const bool stops = round % 2 == 0;
    SCOPED_TRACE("round " + std::to_string(round));
    signInExpired();
    probe->process.writeLine("get 1");
    probe->process.hasOutput(nanoseconds(std::uniform_int_distribution(0, 8'000'000)(random_)));
    if (stops) probe->process.signal(SIGSTOP);
    std::optional<OAuth2Credentials> expected;
    const auto done = carryOut(change, expected);
    if (stops) probe->process.signal(SIGCONT);
    if (!done) {
      // It was stopped in the moment in which it held the store's lock.
      EXPECT_TRUE(stops);
      EXPECT_EQ(done.error().typeName(), "AtomicFileError.busy");
      EXPECT_TRUE(carryOut(change, expected));
    }
    probe->answer();
    expectHolds(expected);
  }
}

TEST_F(GroupStore, ASignInThatIsKilledAtAnyPointBringsNoFormerUserBack) {
  bool isSignedIn = false;
  for (int syncs = 0; !isSignedIn; ++syncs) {
    SCOPED_TRACE("killed at sync " + std::to_string(syncs));
    ASSERT_LT(syncs, 20);
    const auto former = signIn(std::chrono::hours(1));
    ASSERT_TRUE(store->storeUser(UserModel::example()));
    ASSERT_TRUE(store->storeLegacyAuthData(UserAuthData{"lxauth", {}, {}}));
    auto probe = startReady("sign-in", {"syncs=" + std::to_string(syncs)});
    probe->process.writeLine("signin new-access new-refresh");
    isSignedIn = probe->process.readLine() == "signed in";
    const auto current = stored();
    if (current.accessToken == "new-access") {
      EXPECT_FALSE(*store->currentUser());
      EXPECT_FALSE(*store->loadLegacyAuthData());
    } else {
      EXPECT_EQ(current, former);
    }
    // Whatever was killed before, a sign-out leaves no token behind.
    ASSERT_TRUE(store->signOut());
    EXPECT_THAT(filesWithTokens(), ::testing::IsEmpty());
  }
}

TEST_F(GroupStore, ProcessesThatAskAgainAtOnceDoNotFailEachOther) {
  constexpr std::size_t waiterCount = 8;
  const auto center = DarwinNotificationCenter::forFolder(folder.file("notifications"));
  std::vector<std::unique_ptr<Probe>> waiters;
  for (std::size_t i = 0; i < waiterCount; ++i) waiters.push_back(startReady("waiter"));
  auto holder = startReady("holder");
  for (int round = 0; round < rounds(2) && !HasFailure(); ++round) {
    signInExpired();
    const auto failuresBefore = posts("Failure");
    const auto refreshesBefore = refreshes();
    backend->addFault(std::string("POST ") + tokenPath + " refresh_token", {.delay = milliseconds(400), .count = 1});
    holder->process.writeLine("get 1");
    ASSERT_TRUE(waitForRefreshes(refreshesBefore + 1));
    for (const auto& waiter : waiters) waiter->process.writeLine("insist");
    for (int i = 0; i < 5; ++i) {
      // Spread over the refresh: each finds more of the waiters subscribed.
      waiters.front()->process.hasOutput(milliseconds(50));
      center->post(notification("Failure"));
    }
    EXPECT_TRUE(holder->answer().holds(stored()));
    for (const auto& waiter : waiters) {
      EXPECT_EQ(waiter->process.readLine(), "failures 0");
      EXPECT_TRUE(waiter->answer().holds(stored()));
    }
    EXPECT_EQ(posts("Failure"), failuresBefore + 5) << "nobody passes a failure on that belongs to another refresh";
    EXPECT_EQ(refreshes(), refreshesBefore + 1);
  }

  // The failure of the refresh itself fails each of them once at most. Then one of them refreshes.
  signInExpired();
  const auto failuresBefore = posts("Failure");
  const auto refreshesBefore = refreshes();
  backend->addFault(std::string("POST ") + tokenPath + " refresh_token",
                    {.effect = Fault::Status{.status = 400}, .delay = milliseconds(400)});
  holder->process.writeLine("get 1");
  ASSERT_TRUE(waitForRefreshes(refreshesBefore + 1));
  for (const auto& waiter : waiters) waiter->process.writeLine("insist");
  EXPECT_EQ(holder->answer().error, "NetworkServiceError.serverError");
  for (const auto& waiter : waiters) {
    EXPECT_THAT(waiter->process.readLine(), ::testing::AnyOf("failures 0", "failures 1"));
    EXPECT_TRUE(waiter->answer().holds(stored()));
  }
  EXPECT_LE(posts("Failure"), failuresBefore + 1 + waiterCount);
  EXPECT_EQ(refreshes(), refreshesBefore + 2);
}

}  // namespace
}  // namespace lx
