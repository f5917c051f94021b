#include <csignal>
#include <filesystem>
#include <thread>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

struct DevBackendJournal : BackendTest {
  void SetUp() override { start(); }
};

TEST_F(DevBackendJournal, TellsSecretsApartWithoutHoldingThem) {
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto refreshed = refresh(minted.refreshToken);
  refresh(minted.refreshToken);
  client().get("/v3/user?access_token=planted-query", {"Cookie: lxauth=planted-cookie; csrf-token=planted-csrf",
                                                       "X-CSRF-Token: planted-header", "X-Process-Id: 17"});
  user(refreshed.json("access_token"));
  const auto code = backend->issueCode(challenge, "ordinary").value();
  redeem(code, "planted-verifier");
  client().post("/v4/api/oauth2/authorize", "state=planted-state&client_id=a", {}, "application/x-www-form-urlencoded");
  client().post("/v4/api/native-sign-in", R"({"google_signin":{"access_token":"planted-nested"}})");
  client().post("/v3/user/oranonymous", "");

  const auto text = client().get("/_dev/journal").body;
  for (const auto& secret : {minted.refreshToken, refreshed.json("access_token"), refreshed.json("refresh_token"), code,
                             std::string("planted")}) {
    EXPECT_THAT(text, Not(HasSubstr(secret)));
  }
  const auto entries = backend->journal().entries();
  ASSERT_EQ(entries.size(), 8U);
  EXPECT_EQ(entries[0].grant, "refresh_token");
  EXPECT_THAT(entries[0].body, HasSubstr(R"("refresh_token":"<redacted>","client_id":"mobile-ios")"));
  EXPECT_EQ(entries[0].fingerprints, entries[1].fingerprints);
  EXPECT_EQ(entries[0].fingerprints.at("refresh_token").size(), 8U);
  EXPECT_EQ(entries[1].status, 401);
  EXPECT_EQ(entries[2].processID, "17");
  EXPECT_EQ(entries[2].query, "access_token=<redacted>");
  EXPECT_EQ(entries[2].host, "auth.lexiconia.com");
  EXPECT_EQ(entries[5].body, "state=<redacted>&client_id=a");
  EXPECT_THAT(entries[7].responseHeaders, testing::Contains(testing::Pair("Set-Cookie", "<redacted>")));
  EXPECT_EQ(backend->journal().count(tokenPath), 3U);
  EXPECT_EQ(backend->journal().count(tokenPath, "refresh_token"), 2U);
  EXPECT_FALSE(backend->journal().waitForRequests(4, tokenPath, 1ms));
}

TEST_F(DevBackendJournal, OtherProcessesSteerTheBackendByItsControlPaths) {
  const auto minted = client().post("/_dev/credentials", R"({"user":"managed"})");
  EXPECT_EQ(user(minted.json("access_token")).json("id"), "1003");
  EXPECT_EQ(client().post("/_dev/expire", "{}").status, 200);
  EXPECT_EQ(user(minted.json("access_token")).status, 401);
  EXPECT_EQ(client().post("/_dev/lifetime", R"({"expires_in":5})").status, 200);
  EXPECT_EQ(client().post("/_dev/grace", R"({"milliseconds":3600000})").status, 200);
  const auto refreshed = refresh(minted.json("refresh_token"));
  EXPECT_EQ(refreshed.json("expires_in"), "5");
  EXPECT_EQ(refresh(minted.json("refresh_token")).status, 200);
  EXPECT_EQ(client().post("/_dev/revoke", "{}").status, 200);
  EXPECT_EQ(refresh(refreshed.json("refresh_token")).status, 401);
  const auto code = client().post("/_dev/code", R"({"user":"ordinary","code_challenge":")" + challenge + "\"}");
  EXPECT_EQ(redeem(code.json("code"), verifier).status, 200);
  EXPECT_EQ(client().post("/_dev/scenario", R"({"routes":{"/v3/user":[{"fault":"status","status":418}]}})").status,
            200);
  EXPECT_EQ(client().get("/v3/user").status, 418);
  EXPECT_EQ(client().post("/_dev/scenario", R"({"routes":[]})").json("message"), "routes: must be an object");
  EXPECT_EQ(client().post("/_dev/credentials", R"({"user":"nobody"})").status, 400);
}

TEST_F(DevBackendJournal, OnlyNamesOfTheCertificateAreServedAndTheTemporaryCAFileGoes) {
  const auto file = backend->caFile();
  EXPECT_EQ(std::filesystem::status(file).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  auto stranger = client();
  stranger.host = "auth.elsewhere.test";
  EXPECT_EQ(stranger.get("/v3/user").curlCode, 60);
  stranger.host = "127.0.0.1:443";
  EXPECT_EQ(stranger.get("/v3/user").status, 401);
  DevBackend::Options taken{.port = backend->port()};
  EXPECT_EQ(DevBackend::start(taken).error().typeName(), "DevBackendError.socket");
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
  auto hasty = client();
  hasty.largestBody = 10'000;
  EXPECT_NE(hasty.get("/v3/user").curlCode, 0) << "hangs up, and the server writes into a closed connection";
  EXPECT_EQ(client().get("/v3/user").status, 401);
}

TEST_F(DevBackendJournal, ServesManyConnectionsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 32; ++i) {
    threads.emplace_back([this] {
      for (int n = 0; n < 10; ++n) EXPECT_EQ(client().get("/v3/user").status, 401);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(backend->journal().count("/v3/user"), 320U);
}

}  // namespace
}  // namespace lx::test
