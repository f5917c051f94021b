#include <limits>

#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using namespace std::chrono_literals;

struct DevBackendTokens : BackendTest {
  void SetUp() override { start(); }
};

TEST_F(DevBackendTokens, CodesAreGoodOnceForTheVerifierBehindTheirChallenge) {
  const auto code = backend->issueCode(challenge, "ordinary").value();
  const auto redeemed = redeem(code, verifier);
  ASSERT_EQ(redeemed.status, 200) << redeemed.body;
  EXPECT_EQ(redeemed.json("expires_in"), "3600");
  EXPECT_THAT(redeemed.json("device_id"), testing::StartsWith("device-"));
  EXPECT_EQ(user(redeemed.json("access_token")).json("id"), "1001");

  EXPECT_EQ(redeem(code, verifier).json("message"), "The code was used before");
  EXPECT_EQ(user(redeemed.json("access_token")).status, 401) << "what the code gave is withdrawn when it comes again";

  const auto other = backend->issueCode(challenge, "ordinary").value();
  EXPECT_EQ(redeem(other, "another-verifier").json("message"), "The code verifier does not match");
  EXPECT_EQ(redeem(other, verifier).status, 400);
  EXPECT_EQ(redeem("unknown", verifier).status, 400);
  EXPECT_FALSE(backend->issueCode(challenge, "nobody"));
}

TEST_F(DevBackendTokens, RefreshTokensRotateAndTheirReuseEndsTheFamily) {
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto first = refresh(minted.refreshToken);
  ASSERT_EQ(first.status, 200) << first.body;
  EXPECT_NE(first.json("refresh_token"), minted.refreshToken);
  EXPECT_EQ(user(first.json("access_token")).status, 200);

  const auto reused = refresh(minted.refreshToken);
  EXPECT_EQ(reused.status, 401);
  EXPECT_EQ(reused.json("message"), "Invalid refresh token");
  EXPECT_EQ(refresh(first.json("refresh_token")).status, 401);
  EXPECT_EQ(user(first.json("access_token")).status, 401);
}

TEST_F(DevBackendTokens, WithinTheGraceWindowReuseGivesTheSamePairUntilThatIsUsed) {
  backend->setRefreshGrace(1h);
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto first = refresh(minted.refreshToken);
  EXPECT_EQ(refresh(minted.refreshToken).body, first.body);
  const auto second = refresh(first.json("refresh_token"));
  EXPECT_EQ(second.status, 200);
  EXPECT_EQ(refresh(minted.refreshToken).status, 401);
  EXPECT_EQ(refresh(second.json("refresh_token")).status, 401);
}

TEST_F(DevBackendTokens, TokensEndByExpiryRevocationAndBlocking) {
  const auto expired = backend->mintCredentials("ordinary").value();
  backend->expireAccessTokens();
  EXPECT_EQ(user(expired.accessToken).status, 401);
  backend->setTokenLifetime(0);
  const auto shortLived = refresh(expired.refreshToken);
  EXPECT_EQ(shortLived.json("expires_in"), "0");
  EXPECT_EQ(user(shortLived.json("access_token")).status, 401);
  backend->setTokenLifetime(std::numeric_limits<std::int64_t>::max());
  const auto revoked = backend->mintCredentials("ordinary").value();
  EXPECT_EQ(user(revoked.accessToken).status, 200);
  const auto body = R"({)" + mobile + R"(,"refresh_token":")" + revoked.refreshToken + "\"}";
  EXPECT_EQ(client().post("/v4/api/revoke-by-refresh-token", body).status, 200);
  EXPECT_EQ(user(revoked.accessToken).status, 401);
  EXPECT_EQ(refresh(revoked.refreshToken).status, 401);

  const auto blocked = backend->mintCredentials("blocked").value();
  for (const auto& answer : {user(blocked.accessToken), refresh(blocked.refreshToken)}) {
    EXPECT_EQ(answer.status, 403);
    EXPECT_EQ(answer.json("error"), "stand_with_ukraine");
  }
}

TEST_F(DevBackendTokens, OtherGrantsGiveTheirUsers) {
  const auto exchanged = client().post(
      tokenPath, R"({"grant_type":"urn:ietf:params:oauth:grant-type:token-exchange","subject_token_type":)"
                 R"("urn:lexiconia:params:oauth:token-type:lxauth","subject_token":"lxauth-managed",)" +
                     mobile + R"(,"scopes":"lexiconia.corva.all","device_id":"mine"})");
  EXPECT_EQ(exchanged.json("device_id"), "mine") << exchanged.body;
  EXPECT_EQ(user(exchanged.json("access_token")).json("id"), "1003");

  const auto anonymous =
      client().post(tokenPath, R"({"grant_type":"urn:ietf:params:oauth:grant-type:client_id",)" + mobile + "}");
  EXPECT_EQ(anonymous.json("device_id"), "");
  EXPECT_EQ(user(anonymous.json("access_token")).json("anonymous"), "true");
}

TEST_F(DevBackendTokens, MalformedRequestsAreRefusedInJSON) {
  const struct {
    std::string path, body, contentType;
    int status;
  } cases[] = {
      {tokenPath, "{}", "application/json", 400},
      {tokenPath, "grant_type=refresh_token", "application/x-www-form-urlencoded", 415},
      {tokenPath, "[]", "application/json", 400},
      {tokenPath, R"({"grant_type":"password","client_id":"x"})", "application/json", 400},
      {"/v4/api/user", "{}", "application/json", 405},
      {"/v4/api/unknown", "{}", "application/json", 404},
  };
  for (const auto& c : cases) {
    const auto answer = client().post(c.path, c.body, {}, c.contentType);
    EXPECT_EQ(answer.status, c.status) << c.path << " " << c.body;
    EXPECT_NE(answer.json("message"), "");
  }
}

}  // namespace
}  // namespace lx::test
