#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

using DevBackendTokens = BackendTest;

TEST_F(DevBackendTokens, CodesAreGoodOnceForTheVerifierBehindTheirChallenge) {
  const auto code = backend->issueCode(challenge, "ordinary").value();
  const auto redeemed = redeem(code, verifier);
  EXPECT_EQ(user(redeemed.json("access_token")).json("id"), "1001") << redeemed.body;
  EXPECT_EQ(redeem(code, verifier).json("message"), "The code was used before");
  EXPECT_EQ(user(redeemed.json("access_token")).status, 401) << "what the code gave is withdrawn when it comes again";

  const auto other = backend->issueCode(challenge, "ordinary").value();
  EXPECT_EQ(redeem(other, "another-verifier").json("message"), "The code verifier does not match");
  EXPECT_EQ(redeem(other, verifier).status, 400);
}

TEST_F(DevBackendTokens, RefreshTokensRotateAndTheirReuseEndsTheFamily) {
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto first = refresh(minted.refreshToken);
  EXPECT_EQ(user(first.json("access_token")).status, 200);
  EXPECT_EQ(refresh(minted.refreshToken).json("message"), "Invalid refresh token");
  EXPECT_EQ(refresh(first.json("refresh_token")).status, 401);
  EXPECT_EQ(user(first.json("access_token")).status, 401);
}

TEST_F(DevBackendTokens, WithinTheGraceWindowReuseGivesTheSamePairUntilThatIsUsed) {
  backend->setRefreshGrace(std::chrono::hours(1));
  const auto minted = backend->mintCredentials("ordinary").value();
  const auto first = refresh(minted.refreshToken);
  EXPECT_EQ(refresh(minted.refreshToken).body, first.body);
  const auto second = refresh(first.json("refresh_token"));
  EXPECT_EQ(second.status, 200);
  EXPECT_EQ(refresh(minted.refreshToken).status, 401);
  EXPECT_EQ(refresh(second.json("refresh_token")).status, 401);
}

TEST_F(DevBackendTokens, MalformedRequestsAreRefusedInJSON) {
  const auto expectRefusal = [](int status, const Answer& answer) {
    EXPECT_EQ(answer.status, status);
    EXPECT_NE(answer.json("message"), "");
  };
  for (const auto* body : {"{}", "[]", R"({"grant_type":"password","client_id":"x"})"}) {
    expectRefusal(400, post(tokenPath, body));
  }
  expectRefusal(415, post(tokenPath, "grant_type=refresh_token", {}, "application/x-www-form-urlencoded"));
  expectRefusal(405, post("/v4/api/user", "{}"));
  expectRefusal(404, post("/v4/api/unknown", "{}"));
}

}  // namespace
}  // namespace lx::test
