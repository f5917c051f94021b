#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXTesting/DevBackend.h"

#include "lx/ToolRun.h"
#include "process/ChildProcess.h"

namespace lx {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

constexpr const char* credentialsForm =
    R"(\{"accessToken":"<redacted>","refreshToken":"<redacted>","expirationDate":"[-0-9]{10}T[:.0-9]+Z"\})";

const std::string authForm = std::string(R"("oauth2Credentials":)") + credentialsForm +
                             R"(,"deviceAuthData":\{"trustedDeviceID":"<redacted>"\})";

/// A backend and a group, with every run logging all that there is.
class ToolSession : public testing::Test {
 protected:
  ToolRun lx(Arguments arguments) {
    return runTool(std::move(arguments), {"LX_GROUP=" + folder.file("group"), "LX_CONNECT_TO=" + backend->address(),
                                          "LX_CA_FILE=" + backend->caFile()});
  }

  /// The run with --json and the most talkative log; nothing that is secret may show up.
  ToolRun quietly(Arguments arguments) {
    arguments.insert(arguments.end(), {"--json", "--log", "0"});
    const auto secretsBefore = storedSecrets();
    const auto run = lx(std::move(arguments));
    for (const auto& secrets : {secretsBefore, storedSecrets(), std::vector<std::string>{"lxauth-ordinary"}}) {
      for (const auto& secret : secrets) {
        EXPECT_THAT(run.out, Not(HasSubstr(secret)));
        EXPECT_THAT(run.err, Not(HasSubstr(secret)));
      }
    }
    return run;
  }

  std::vector<std::string> storedSecrets() {
    std::vector<std::string> secrets;
    if (const auto credentials = *store->loadOAuth2Credentials()) {
      secrets = {credentials->accessToken, credentials->refreshToken};
    }
    if (const auto device = store->trustedDeviceID()) secrets.push_back(*device);
    return secrets;
  }

  /// The tool behind a shell, for redirections and limits.
  std::vector<std::string> commandLine(const std::string& arguments, const std::string& preparation = {}) const {
    return {"/bin/sh", "-c",
            preparation + "exec " + LX_TOOL + " --group " + folder.file("group") + " --connect-to " +
                backend->address() + " --ca-file " + backend->caFile() + " " + arguments};
  }

  static constexpr const char* tokenPath = "/v4/api/oauth2/token";
  static constexpr std::chrono::seconds watchdog{20};

  const TemporaryFolder folder;
  const std::unique_ptr<DevBackend> backend = *DevBackend::start();
  const std::shared_ptr<FileCredentialsStorage> store = *FileCredentialsStorage::make(folder.file("group"));
};

TEST_F(ToolSession, GoesFromAnonymousThroughMigrationToLogout) {
  const std::string credentials = std::string(credentialsForm) + "\n";
  EXPECT_THAT(quietly({"anonymous"}).out, MatchesRegex(credentials));
  EXPECT_THAT(quietly({"migrate", "--lxauth", "lxauth-ordinary"}).out, MatchesRegex("\\{" + authForm + "\\}\n"));
  EXPECT_THAT(quietly({"token", "show"}).out, MatchesRegex(credentials));
  const auto before = storedSecrets();
  EXPECT_THAT(quietly({"token", "refresh"}).out, MatchesRegex(credentials));
  EXPECT_NE(storedSecrets(), before);
  EXPECT_THAT(
      quietly({"token", "get", "--callers", "2"}).out,
      MatchesRegex(std::string(R"(\{"caller":1,"credentials":)") + credentialsForm + "\\}\n\\{\"caller\":2,.*\\}\n"));
  EXPECT_THAT(quietly({"user"}).out,
              AllOf(StartsWith(R"({"id":"1001","firstName":"Olive",)"), Not(HasSubstr("customFields"))));
  EXPECT_THAT(quietly({"user", "--v3", "--role"}).out, HasSubstr(R"("customFields":{"frontend_role":"writer"})"));
  EXPECT_THAT(lx({"token", "show", "--json", "--reveal"}).out, HasSubstr(storedSecrets().front()));
  EXPECT_EQ(quietly({"logout"}).out, "{\"ok\":true}\n");
  EXPECT_THAT(storedSecrets(), IsEmpty());
  EXPECT_EQ(backend->journal().count("/v4/api/revoke-by-refresh-token"), 1U);
}

TEST_F(ToolSession, SignsInByCodeAndByProviderAndKeepsWhatAnAppKeeps) {
  const AuthUtilityImpl utility;
  const auto verifier = utility.generateCodeVerifier(43);
  const auto code = *backend->issueCode(utility.calculateCodeChallenge(verifier), "ordinary");
  const auto run = quietly({"signin", "--code", code, "--verifier=" + verifier});
  EXPECT_THAT(run.out, MatchesRegex("\\{" + authForm + R"(,"user":\{"id":"1001".*\}\})" + "\n"));
  EXPECT_THAT(run.out + run.err, AllOf(Not(HasSubstr(code)), Not(HasSubstr(verifier))));
  EXPECT_EQ((*store->currentUser())->id, "1001");

  static_cast<void>(store->storeLegacyAuthData(UserAuthData{"lxauth-ordinary", {}, {}}));
  EXPECT_THAT(quietly({"signin", "--google", "google-institution"}).out,
              MatchesRegex("\\{" + authForm + R"(,"action":"SIGNIN","user":\{"id":"1002".*\}\})" + "\n"));
  EXPECT_FALSE(*store->loadLegacyAuthData()) << "the session of another user";
  EXPECT_THAT(quietly({"signin", "--apple", "newcomer-7", "--email", "new@example.test"}).out,
              HasSubstr(R"("action":"SIGNUP")"));
}

TEST_F(ToolSession, ASignalInARefreshEndsTheToolOnceTheNewPairIsStored) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto before = storedSecrets();
    const auto refreshes = backend->journal().count(tokenPath, "refresh_token");
    backend->addFault(std::string("POST ") + tokenPath + " refresh_token", {.delay = std::chrono::milliseconds(200)});
    ChildProcess refreshing(commandLine("token refresh"));
    ASSERT_TRUE(backend->journal().waitForRequests(refreshes + 1, tokenPath, watchdog, "refresh_token"));
    refreshing.signal(signal);
    EXPECT_EQ(refreshing.readLine(), "(ended)");
    EXPECT_EQ(refreshing.wait(), -1) << "ended by the signal";
    EXPECT_NE(storedSecrets(), before);
    EXPECT_EQ(lx({"token", "refresh"}).status, 0);
  }
  // Without an exchange it ends at once.
  ChildProcess asking(commandLine("signin --code - --verifier v"));
  EXPECT_FALSE(asking.hasOutput(std::chrono::milliseconds(100)));
  asking.terminate();
  EXPECT_EQ(asking.wait(), -1);
}

TEST_F(ToolSession, AStoreThatCannotBeWrittenFailsBeforeTheRefreshTokenIsSpent) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  const auto before = storedSecrets();
  ChildProcess full(commandLine("token refresh --json 2>&1", "ulimit -f 0; "));
  EXPECT_THAT(full.readLine(), HasSubstr(R"("type":"AtomicFileError.unwritable")"));
  EXPECT_EQ(full.wait(), 1);
  EXPECT_EQ(backend->journal().count(tokenPath, "refresh_token"), 0U);
  EXPECT_EQ(storedSecrets(), before);
}

TEST_F(ToolSession, AWantOfDescriptorsIsATypedErrorAndLosesNothing) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  for (const auto* most : {"6", "7", "9"}) {
    ChildProcess starved(commandLine("token refresh --json", std::string("exec 2>&1; ulimit -n ") + most + "; "));
    EXPECT_THAT(starved.readLine(), StartsWith(R"({"error":{"type":")")) << most;
    EXPECT_EQ(starved.wait(), 1);
  }
  EXPECT_EQ(lx({"token", "refresh"}).status, 0);
}

TEST_F(ToolSession, WorksWithClosedStandardStreamsAndWritesNoLogIntoItsFiles) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  ChildProcess closed(commandLine("--log 0 token refresh <&- >&- 2>&-"));
  EXPECT_EQ(closed.wait(), 0);
  EXPECT_THAT(contentsOf(folder.file("group/token-refresh.lock")), MatchesRegex("[-_A-Za-z0-9]{43}\n"));
}

TEST_F(ToolSession, ABoundOfTheCallEndsTheWaitForAServerThatDoesNotAnswer) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  backend->addFault("GET /v4/api/user", {.delay = std::chrono::hours(1), .count = std::nullopt});
  const auto run = lx({"user", "--timeout", "0.2", "--json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("URLSessionError.timedOut"));
}

TEST_F(ToolSession, ABoundThatEndsACallLeavesTimeToStoreThePairUnderWay) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  backend->addFault("GET /v4/api/user",
                    {.effect = Fault::Status{.status = 401}, .delay = std::chrono::milliseconds(900)});
  backend->addFault(std::string("POST ") + tokenPath + " refresh_token", {.delay = std::chrono::milliseconds(1000)});
  EXPECT_THAT(lx({"user", "--timeout", "1.5", "--json"}).err, HasSubstr("URLSessionError.timedOut"));
  EXPECT_EQ(backend->journal().count(tokenPath, "refresh_token"), 1U);
  EXPECT_EQ(lx({"token", "refresh"}).status, 0);
}

TEST_F(ToolSession, WhatAServerSaysDoesNotActOnATerminal) {
  ASSERT_EQ(lx({"anonymous"}).status, 0);
  backend->addFault("GET /v4/api/user",
                    {.effect = Fault::Status{.status = 403, .body = "{\"error\":\"\\u001b[2J\\nlx: ok\"}"}});
  const auto run = lx({"user", "--log", "0"});
  EXPECT_THAT(run.err,
              AllOf(HasSubstr("blocks this account: ?[2J?lx: ok"), Not(HasSubstr("\x1b")), Not(HasSubstr("\nlx: ok"))));
}

TEST_F(ToolSession, SecretsComeFromStandardInputAndFiles) {
  const AuthUtilityImpl utility;
  const auto verifier = utility.generateCodeVerifier(43);
  const auto file = folder.file("verifier");
  std::ofstream(file) << verifier << "\r\n";
  ChildProcess signIn(commandLine("--json signin --code - --verifier @" + file + " 2>&1"));
  signIn.writeLine(*backend->issueCode(utility.calculateCodeChallenge(verifier), "ordinary"));
  EXPECT_THAT(signIn.readLine(), HasSubstr(R"("id":"1001")"));

  std::ofstream(folder.file("empty")) << "\n";
  for (const auto& given : {std::string("-"), "@" + folder.file("empty"), "@" + folder.file("missing")}) {
    const auto run = lx({"migrate", "--lxauth", given, "--json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("ToolError.secret"));
  }
}

TEST_F(ToolSession, FailuresAreObjectsOnStandardError) {
  const auto error = [](const std::string& type, const std::string& code, const std::string& message) {
    return R"({"error":{"type":")" + type + R"(","code":)" + code + R"(,"message":")" + message + "\"}}\n";
  };
  const auto none = error("OAuth2Error.credentialsNotFound", "\"3-1\"", "There are no stored credentials");
  for (const auto& command :
       {Arguments{"token", "show"}, {"token", "refresh"}, {"token", "revoke"}, {"user"}, {"logout"}}) {
    auto arguments = command;
    arguments.push_back("--json");
    const auto run = lx(arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_EQ(run.err, none) << command.front();
  }
  EXPECT_THAT(lx({"user"}).err, AllOf(HasSubstr("(OAuth2Error.credentialsNotFound, 3-1)\n"), HasSubstr("`lx signin`")));
  EXPECT_EQ(lx({"migrate", "--json"}).err,
            error("ToolError.noLegacyData", "null", "Nothing of the cookie era is stored"));
  const auto blocked = *backend->mintCredentials("blocked");
  static_cast<void>(store->storeOAuth2Credentials(
      OAuth2Credentials{blocked.accessToken, blocked.refreshToken, addingSeconds(Clock::system()->now(), 3600)}));
  EXPECT_THAT(lx({"user"}).err, HasSubstr("blocks this account: stand_with_ukraine"));

  EXPECT_EQ(lx({"anonymous"}).status, 0);
  backend->revokeRefreshTokens();
  const auto refused = lx({"token", "refresh", "--json"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, StartsWith(R"({"error":{"type":"NetworkServiceError.serverError","code":null,)"));
  EXPECT_EQ(lx({"logout", "--local"}).status, 0);
  EXPECT_THAT(storedSecrets(), IsEmpty());
}

TEST(ToolBackend, TellsWhereItIsThenEachRequestAndEndsOnASignal) {
  const TemporaryFolder folder;
  const auto scenario = folder.file("scenario.json");
  std::ofstream(scenario) << R"({"routes":{"POST /v4/api/oauth2/token":[{"fault":"status","status":418}]}})";
  ChildProcess backend({LX_TOOL, "backend", "--json", "--scenario", scenario, "--ca-out", folder.file("ca.pem")});
  const auto started = backend.readLine();
  ASSERT_THAT(started, MatchesRegex(R"re(\{"event":"started","address":"127.0.0.1:[0-9]+","caFile":".*/ca.pem"\})re"));
  const auto address = started.substr(started.find("127."), started.find("\",\"ca") - started.find("127."));
  const Arguments anonymous{"anonymous",           "--group",   folder.file("group"),
                            "--connect-to",        address,     "--ca-file",
                            folder.file("ca.pem"), "--domains", "mock"};
  EXPECT_EQ(runTool(anonymous).status, 1) << "the scenario's status";
  EXPECT_EQ(runTool(anonymous).status, 0);
  for (const auto* status : {"\"fault\":\"status\",\"status\":418}", "client_id\",\"status\":200}"}) {
    EXPECT_THAT(backend.readLine(), AllOf(StartsWith(R"({"event":"request","sequence":)"), HasSubstr(status)));
  }
  backend.terminate();
  EXPECT_EQ(backend.readLine(), R"({"event":"stopped"})");
  EXPECT_EQ(backend.wait(), 0);
}

TEST(ToolDemo, AllClaimsHold) {
  const auto run = runTool({"demo", "--json"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("{\"event\":\"finished\",\"checks\":"));
  EXPECT_THAT(run.out, Not(HasSubstr("\"holds\":false")));
}

}  // namespace
}  // namespace lx
