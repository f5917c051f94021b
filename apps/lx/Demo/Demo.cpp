#include <filesystem>
#include <set>

#include <stdlib.h>

#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXTesting/DevBackend.h"

#include "lx/Demo/Browser.h"
#include "lx/Demo/Document.h"
#include "lx/Demo/GroupProcess.h"
#include "lx/Demo/Timeline.h"
#include "lx/SignIn.h"

namespace lx::tool {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds patience{20'000};  // with what should take a moment
constexpr const char* tokenPath = "/v4/api/oauth2/token";
constexpr const char* refreshRoute = "POST /v4/api/oauth2/token refresh_token";
constexpr const char* refreshAnswered = "POST /v4/api/oauth2/token refresh_token 200";
constexpr const char* refreshRefused = "POST /v4/api/oauth2/token refresh_token 401";
constexpr const char* waitsForAnother = "File already locked";

class TemporaryGroup {
 public:
  TemporaryGroup() {
    path_ = (std::filesystem::temp_directory_path() / "lx-demo-XXXXXX").string();
    if (!mkdtemp(path_.data())) throw TourFailure{UnwrapError{"There is no place for a temporary folder"}};
  }
  ~TemporaryGroup() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryGroup(const TemporaryGroup&) = delete;
  TemporaryGroup& operator=(const TemporaryGroup&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// What a process of `lx token get` told.
struct Answers {
  int answered = 0;
  int failed = 0;
  bool logoutRequested = false;
  std::set<std::string> accessTokens;
};

void add(const std::string& lines, Answers& answers) {
  for (std::size_t begin = 0; begin < lines.size();) {
    const auto end = std::min(lines.find('\n', begin), lines.size());
    const auto document = must(JSONDocument::parse(std::string_view(lines).substr(begin, end - begin)));
    begin = end + 1;
    if (const auto credentials = document.root().member("credentials")) {
      ++answers.answered;
      if (const auto token = credentials->member("accessToken"))
        answers.accessTokens.emplace(token->asString().value_or(""));
    }
    if (document.root().member("error")) ++answers.failed;
    if (const auto event = document.root().member("event")) {
      answers.logoutRequested = answers.logoutRequested || event->asString() == "logoutRequested";
    }
  }
}

class Tour {
 public:
  explicit Tour(const Output& output)
      : timeline_(output),
        backend_(must(DevBackend::start())),
        stack_(must(
            Stack::make({.group = group_.path(), .connectTo = backend_->address(), .caFile = backend_->caFile()}))) {}

  void run() {
    timeline_.started(backend_->address(), backend_->caFile(), group_.path());
    signInWithCode();
    fetchUserElsewhere();
    recoverFromUnauthorized();
    refreshOnceForAll();
    surviveCrash();
    surviveInterrupt();
    recoverSilently();
    askForLogout();
    holdSignOut();
    showDocument(timeline_);
    timeline_.finished();
  }

 private:
  void signInWithCode() {
    timeline_.chapter("Sign in with a browser, an authorization code and PKCE");
    const AuthUtilityImpl utility;
    const auto verifier = utility.generateCodeVerifier(64);
    const auto state = utility.generateState(32);
    const auto redirect = signInWithBrowser(*stack_, user_, utility.calculateCodeChallenge(verifier), state.value);
    timeline_.check(OAuth2StateParam{redirect.state} == state, "the browser comes back with a code and our own state");
    const auto signedIn = must(signIn(*stack_, {.code = redirect.code, .verifier = verifier}));
    timeline_.check(signedIn.authDTO.oauth2Credentials.isValid(),
                    "code and verifier give credentials, kept for the group");
    timeline_.check(signedIn.user.email == "olive@example.test",
                    "they belong to " + signedIn.user.name.value_or("nobody"));
    checkRequests({"GET /v4/api/oauth2/authorize 200", "POST /v4/api/oauth2/authorize 302",
                   "POST /v4/api/oauth2/token authorization_code 200", "GET /v4/api/user 200"});
  }

  void fetchUserElsewhere() {
    timeline_.chapter("Another process of the group fetches the user");
    auto process = startProcess({"user"});
    timeline_.check(process.wait(patience) == 0, "a second process has the first one's credentials and is answered");
    checkRequests({"GET /v4/api/user 200"});
  }

  void recoverFromUnauthorized() {
    timeline_.chapter("The backend ends the access token early");
    backend_->expireAccessTokens();
    auto process = startProcess({"user"});
    timeline_.check(process.wait(patience) == 0, "the caller notices nothing: refused, refreshed once, sent again");
    checkRequests({"GET /v4/api/user 401", refreshAnswered, "GET /v4/api/user 200"});
  }

  void refreshOnceForAll() {
    constexpr int processCount = 6;
    constexpr int callersEach = 8;
    timeline_.chapter("The token expires, and 6 processes with 8 callers each want it at once");
    letTokenExpire();
    // Long enough that all of them are there before the answer.
    backend_->addFault(refreshRoute, {.delay = milliseconds(700)});
    std::vector<GroupProcess> processes;
    for (int index = 0; index < processCount; ++index) {
      processes.push_back(startProcess({"token", "get", "--callers", std::to_string(callersEach), "--log", "2"}));
    }
    Answers answers;
    int waited = 0;
    for (auto& process : processes) {
      process.wait(patience);
      add(process.output(), answers);
      if (process.log().find(waitsForAnother) != std::string::npos) ++waited;
    }
    timeline_.check(
        answers.answered == processCount * callersEach && answers.failed == 0,
        "all 48 callers have credentials; " + std::to_string(waited) + " processes waited for another's refresh");
    timeline_.check(answers.accessTokens.size() == 1, "they all have the same access token");
    checkRequests({refreshAnswered});
  }

  void surviveCrash() {
    constexpr int waiterCount = 3;
    constexpr int callersEach = 4;
    timeline_.chapter("A process is killed in the middle of a refresh");
    letTokenExpire();
    // The first request is never answered, whoever sends it.
    backend_->addFault(refreshRoute, {.effect = Fault::Drop{}, .delay = 2 * patience});
    auto holder = startProcess({"token", "get"});
    timeline_.check(waitForRefreshes(1), "process " + std::to_string(holder.identifier()) +
                                             " holds the group's lock and waits for the backend");
    std::vector<GroupProcess> waiters;
    for (int index = 0; index < waiterCount; ++index) {
      waiters.push_back(startProcess({"token", "get", "--callers", std::to_string(callersEach), "--log", "2"}));
    }
    bool allWait = true;
    for (auto& waiter : waiters) allWait = waiter.waitForLog(waitsForAnother, patience) && allWait;
    timeline_.check(allWait, "3 more processes find the lock taken and wait");

    const auto killed = clock_->steadyNow();
    holder.kill();
    const bool carriedOn = waitForRefreshes(2);
    const auto gap = std::chrono::duration_cast<milliseconds>(clock_->steadyNow() - killed);
    timeline_.check(carriedOn,
                    "SIGKILL; " + std::to_string(gap.count()) + " ms later one of the others asks in its place");
    Answers answers;
    for (auto& waiter : waiters) {
      waiter.wait(patience);
      add(waiter.output(), answers);
    }
    timeline_.check(answers.answered == waiterCount * callersEach && answers.accessTokens.size() == 1,
                    "all 12 callers have credentials, and the same");
    checkRequests({"POST /v4/api/oauth2/token refresh_token 0", refreshAnswered});
  }

  void surviveInterrupt() {
    timeline_.chapter("Ctrl-C in the middle of a refresh");
    letTokenExpire();
    const auto before = must(stack_->store().loadOAuth2Credentials());
    backend_->addFault(refreshRoute, {.delay = milliseconds(500)});
    auto process = startProcess({"token", "get"});
    timeline_.check(waitForRefreshes(1), "the backend is about to exchange the refresh token");
    process.interrupt();
    timeline_.check(!process.wait(patience).has_value(), "the process ends by the signal");
    const auto after = must(stack_->store().loadOAuth2Credentials());
    timeline_.check(after && !haveSameTokens(*after, *before), "not before the new credentials were stored");
    checkRequests({refreshAnswered});
  }

  void recoverSilently() {
    timeline_.chapter("The refresh token is refused, and there is a session of the cookie era");
    letTokenExpire();
    must(stack_->store().storeLegacyAuthData(UserAuthData{lxauthToken(), std::nullopt, std::nullopt}));
    backend_->revokeRefreshTokens();
    auto process = startProcess({"token", "get"});
    const auto status = process.wait(patience);
    Answers answers;
    add(process.output(), answers);
    timeline_.check(status == 0 && answers.answered == 1 && !answers.logoutRequested,
                    "the caller has new credentials, and nobody was asked to sign in again");
    checkRequests({refreshRefused, "POST /v4/api/oauth2/token token-exchange 200"});
  }

  void askForLogout() {
    timeline_.chapter("The refresh token is refused, and there is nothing left to try");
    letTokenExpire();
    must(stack_->store().storeLegacyAuthData(std::nullopt));
    backend_->revokeRefreshTokens();
    auto process = startProcess({"token", "get"});
    const auto status = process.wait(patience);
    Answers answers;
    add(process.output(), answers);
    timeline_.check(status == 1 && answers.failed == 1, "the caller gets the backend's refusal");
    timeline_.check(answers.logoutRequested, "the app is asked to sign the user out");
    checkRequests({refreshRefused});
  }

  void holdSignOut() {
    timeline_.chapter("The user signs out while another process refreshes");
    const auto minted = must(backend_->mintCredentials(user_));
    must(stack_->store().storeOAuth2Credentials(
        OAuth2Credentials{minted.accessToken, minted.refreshToken, clock_->now()}));
    backend_->addFault(refreshRoute, {.delay = milliseconds(500)});
    auto process = startProcess({"token", "get"});
    timeline_.check(waitForRefreshes(1), "the backend is about to exchange the refresh token");
    must(stack_->store().signOut());
    const auto status = process.wait(patience);
    timeline_.check(status == 1 && process.output().contains("OAuth2Error.credentialsNotFound"),
                    "its caller learns that nobody is signed in");
    timeline_.check(!must(stack_->store().loadOAuth2Credentials()), "the late answer does not undo the sign-out");
    checkRequests({refreshAnswered});
  }

  /// Takes a token that lives half a minute: in its last minute a token counts as expired.
  void letTokenExpire() {
    backend_->setTokenLifetime(30);
    Promise<void> promise;
    const auto refreshed = promise.task();
    stack_->credentialsService().refreshOAuth2Credentials(std::move(promise).completion());
    must(stack_->await(refreshed));
    backend_->setTokenLifetime(3600);
    timeline_.check(must(stack_->store().loadOAuth2Credentials())->needsRefresh(),
                    "the stored token is about to expire");
    skipJournal();
  }

  GroupProcess startProcess(std::vector<std::string> command) {
    for (const auto& argument :
         {std::string("--group"), group_.path(), std::string("--connect-to"), backend_->address(),
          std::string("--ca-file"), backend_->caFile(), std::string("--json"), std::string("--reveal")}) {
      command.push_back(argument);
    }
    return must(GroupProcess::start(std::move(command)));
  }

  bool waitForRefreshes(std::size_t count) {
    return backend_->journal().waitForRequests(refreshesTold_ + count, tokenPath, patience, "refresh_token");
  }

  void checkRequests(const std::vector<std::string>& expected) {
    timeline_.checkRequests(backend_->journal().entriesAfter(told_), expected);
    skipJournal();
  }

  void skipJournal() {
    const auto entries = backend_->journal().entriesAfter(told_);
    if (!entries.empty()) told_ = entries.back().sequence;
    refreshesTold_ = backend_->journal().count(tokenPath, "refresh_token");
  }

  std::string lxauthToken() const {
    for (const auto& user : backend_->users()) {
      if (user.key == user_) return user.lxauthToken;
    }
    return "";
  }

  Timeline timeline_;
  const std::string user_ = "ordinary";
  const std::shared_ptr<Clock> clock_ = Clock::system();
  const TemporaryGroup group_;
  const std::unique_ptr<DevBackend> backend_;
  const std::unique_ptr<Stack> stack_;
  std::int64_t told_ = 0;  // of the journal
  std::size_t refreshesTold_ = 0;
};

}  // namespace

Result<void> runDemo(const Output& output) {
  try {
    Tour(output).run();
    return {};
  } catch (const TourFailure& failure) {
    return fail(failure.error);
  }
}

}  // namespace lx::tool
