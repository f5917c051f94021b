#include <csignal>
#include <filesystem>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using testing::HasSubstr;
using testing::Not;

using DevBackendJournal = BackendTest;

TEST_F(DevBackendJournal, TellsSecretsApartWithoutHoldingThem) {
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto refreshed = refresh(minted.refreshToken);
  refresh(minted.refreshToken);
  get("/v3/user?access_token=planted-query", {{"Cookie", "lxauth=planted-cookie; csrf-token=planted-csrf"},
                                              {"X-CSRF-Token", "planted-header"},
                                              {"X-Process-Id", "17"}});
  user(refreshed.json("access_token"));
  const auto code = backend->issueCode(challenge, "ordinary").value();
  redeem(code, "planted-verifier");
  post("/v4/api/oauth2/authorize", "state=planted-state&client_id=a", {}, "application/x-www-form-urlencoded");
  post("/v4/api/native-sign-in", R"({"google_signin":{"access_token":"planted-nested"}})");
  post("/v3/user/oranonymous", "");

  const auto text = get("/_dev/journal").body;
  for (const auto& secret : {minted.refreshToken, refreshed.json("access_token"), refreshed.json("refresh_token"), code,
                             std::string("planted")}) {
    EXPECT_THAT(text, Not(HasSubstr(secret)));
  }
  const auto entries = backend->journal().entries();
  ASSERT_EQ(entries.size(), 8U);
  EXPECT_THAT(entries[0].body, HasSubstr(R"("refresh_token":"<redacted>","client_id":"mobile-ios")"));
  EXPECT_EQ(entries[0].fingerprints, entries[1].fingerprints);
  EXPECT_EQ(entries[0].fingerprints.at("refresh_token").size(), 8U);
  EXPECT_EQ(entries[2].processID, "17");
  EXPECT_EQ(entries[2].query, "access_token=<redacted>");
  EXPECT_EQ(entries[5].body, "state=<redacted>&client_id=a");
  EXPECT_THAT(entries[7].responseHeaders, testing::Contains(testing::Pair("Set-Cookie", "<redacted>")));
  EXPECT_EQ(backend->journal().count(tokenPath), 3U);
  EXPECT_EQ(backend->journal().count(tokenPath, "refresh_token"), 2U);
}

TEST_F(DevBackendJournal, OtherProcessesSteerTheBackendByItsControlPaths) {
  const auto minted = post("/_dev/credentials", R"({"user":"managed"})");
  EXPECT_EQ(user(minted.json("access_token")).json("id"), "1003");
  EXPECT_EQ(post("/_dev/expire", "{}").status, 200);
  EXPECT_EQ(user(minted.json("access_token")).status, 401);
  EXPECT_EQ(post("/_dev/lifetime", R"({"expires_in":5})").status, 200);
  EXPECT_EQ(post("/_dev/grace", R"({"milliseconds":3600000})").status, 200);
  const auto refreshed = refresh(minted.json("refresh_token"));
  EXPECT_EQ(refreshed.json("expires_in"), "5");
  EXPECT_EQ(refresh(minted.json("refresh_token")).status, 200);
  EXPECT_EQ(post("/_dev/revoke", "{}").status, 200);
  EXPECT_EQ(refresh(refreshed.json("refresh_token")).status, 401);
  const auto code = post("/_dev/code", R"({"user":"ordinary","code_challenge":")" + challenge + "\"}");
  EXPECT_EQ(redeem(code.json("code"), verifier).status, 200);
  EXPECT_EQ(post("/_dev/scenario", R"({"routes":{"/v3/user":[{"fault":"status","status":418}]}})").status, 200);
  EXPECT_EQ(get("/v3/user").status, 418);
  EXPECT_EQ(post("/_dev/scenario", R"({"routes":[]})").json("message"), "routes: must be an object");
  EXPECT_EQ(post("/_dev/credentials", R"({"user":"nobody"})").status, 400);
}

TEST_F(DevBackendJournal, ABackendThatCannotStartSaysWhyAndTheTemporaryCAFileGoes) {
  const auto file = backend->caFile();
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(DevBackend::start({.port = backend->port()}).error().typeName(), "DevBackendError.socket");
  EXPECT_EQ(DevBackend::start({.caFile = "/nowhere/ca.pem"}).error().typeName(), "DevBackendError.caFile");
  EXPECT_EQ(DevBackend::start({.hostNames = {"bad name,"}}).error().typeName(), "DevBackendError.certificate");
  backend.reset();
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(DevBackendJournal, LeavesTheSignalsOfItsProcessAlone) {
  struct sigaction action{};
  ::sigaction(SIGPIPE, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
  backend->addFault("/v3/user", {.effect = Fault::Oversized{.bytes = 64'000'000}});
  EXPECT_EQ(get("/v3/user").status, 0) << "hangs up, and the server writes into a closed connection";
  EXPECT_EQ(get("/v3/user").status, 401);
}

}  // namespace
}  // namespace lx::test
