#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

struct DevBackendSignIn : BackendTest {
  void SetUp() override { start(); }

  Answer submit(const std::string& path, const std::string& form) const {
    return client().post(path, form, {}, "application/x-www-form-urlencoded");
  }
};

std::string queryValue(const std::string& url, const std::string& name) {
  const auto start = url.find(name + "=") + name.size() + 1;
  return url.substr(start, url.find('&', start) - start);
}

TEST_F(DevBackendSignIn, TheAuthorizePageEndsInARedirectWithACodeAndTheState) {
  const std::string path = "/v4/api/oauth2/authorize";
  const auto form = "code_challenge=" + challenge +
                    "&client_id=mobile-ios&response_mode=query&response_type=code&scope=lexiconia.corva.all"
                    "&redirect_uri=lexiconia%3A%2F%2Foauth&state=a%22b%2Bc";
  const auto page = client().get(path + "?" + form);
  EXPECT_EQ(page.status, 200);
  EXPECT_THAT(page.body, testing::HasSubstr(R"(name="state" value="a&quot;b+c")"));
  EXPECT_EQ(client().get(path + "?client_id=mobile-ios").status, 400);

  const auto target = submit(path, form + "&user=ordinary").header("Location");
  EXPECT_THAT(target, testing::StartsWith("lexiconia://oauth?code="));
  EXPECT_EQ(queryValue(target, "state"), "a%22b%2Bc");
  EXPECT_EQ(redeem(queryValue(target, "code"), verifier).status, 200);
  EXPECT_EQ(queryValue(submit(path, form + "&screen_hint=signup&user=ordinary").header("Location"), "action"),
            "signup");
  EXPECT_EQ(submit(path, form + "&login_type=cancel").header("Location"),
            "lexiconia://oauth?state=a%22b%2Bc&login_type=cancel");
  EXPECT_EQ(submit(path, form + "&user=blocked").status, 403);
  EXPECT_EQ(client().get("/sso/signin?sso_id=1&originalLocation=aHR0cHM6Ly9hLnRlc3QvP2I9Yw%3D%3D").header("Location"),
            "https://a.test/?b=c");
}

TEST_F(DevBackendSignIn, TheOlderPageEndsInACodeForCookies) {
  const auto page = "code_challenge=" + challenge + "&client_id=mobile-ios";
  EXPECT_EQ(client().get("/signin/app?" + page).status, 200);
  EXPECT_EQ(queryValue(submit("/signin/app", page + "&login_type=use_google").header("Location"), "login_type"),
            "use_google");
  const auto target = submit("/signup/app", page + "&user=institution").header("Location");
  EXPECT_EQ(queryValue(target, "code_challenge"), challenge);

  const auto body =
      R"({"code":")" + queryValue(target, "code") + R"(","code_verifier":")" + verifier + "\"," + mobile + "}";
  const std::string exchange = "/v3/api/unified-login/code/exchange";
  EXPECT_EQ(client().post(exchange, body).status, 403) << "without the referer";
  const auto exchanged = client().post(exchange, body, {"Referer: https://app.lexiconia.com/signin/oauth"});
  ASSERT_EQ(exchanged.status, 200) << exchanged.body;
  EXPECT_THAT(exchanged.cookie("csrf-token"), testing::EndsWith("; Secure; HttpOnly; Domain=lexiconia.com"));
  EXPECT_NE(exchanged.cookie("tdi"), "");
  const auto lxauth = exchanged.cookie("lxauth");
  const auto cookie = "Cookie: a=b; lxauth=" + lxauth.substr(0, lxauth.find(';'));

  const auto user = client().get("/v3/user?field=frontend_role", {cookie});
  EXPECT_EQ(user.json("frontend_role"), "teacher") << user.body;
  EXPECT_NE(user.cookie("auth-policy"), "");
  EXPECT_EQ(client().get("/v3/user", {cookie}).json("frontend_role"), "");
  EXPECT_EQ(client().post("/v3/logout", "", {cookie}).body, R"({"ok":true})");
  EXPECT_EQ(client().get("/v3/user", {cookie}).status, 401);
}

TEST_F(DevBackendSignIn, ASignedInClientGeneratesCodesForItsUser) {
  const auto token = backend->mintCredentials("ordinary").value().accessToken;
  const auto body = R"({"code_challenge":")" + challenge + "\"," + mobile + "}";
  const std::string generate = "/v3/api/unified-login/code/generate";
  const std::string referer = "Referer: https://app.lexiconia.com/signin/oauth";
  EXPECT_EQ(client().post(generate, body, {referer}).status, 401);
  const auto generated = client().post(generate, body, {referer, bearer(token)});
  EXPECT_EQ(redeem(queryValue(generated.json("redirect_uri"), "code"), verifier).status, 200) << generated.body;
}

TEST_F(DevBackendSignIn, NativeSignInKnowsItsUsersAndMakesNewOnes) {
  const auto token = bearer(backend->mintCredentials("anonymous").value().accessToken);
  const auto signIn = [&](const std::string& payload) {
    return client().post("/v4/api/native-sign-in", payload, {token, "X-Client-Type: mobile-ios"});
  };
  const auto known = signIn(R"({"apple_signin":{"code":"apple-ordinary","email":"a@b.test"},"device_id":"mine"})");
  EXPECT_EQ(known.json("action"), "SIGNIN") << known.body;
  EXPECT_EQ(known.json("device_id"), "mine");
  EXPECT_EQ(refresh(known.json("refresh_token")).status, 200);
  const std::string newcomer = R"({"google_signin":{"access_token":"newcomer-1"}})";
  EXPECT_EQ(signIn(newcomer).json("action"), "SIGNUP");
  EXPECT_EQ(signIn(newcomer).json("action"), "SIGNIN");
  const auto unknown = signIn(R"({"google_signin":{"access_token":"stranger"}})");
  EXPECT_EQ(unknown.status, 401);
  EXPECT_EQ(unknown.json("message"), "The provider's token is not valid");
  EXPECT_EQ(signIn(R"({"google_signin":{"access_token":"google-blocked"}})").status, 403);
  EXPECT_EQ(client().post("/v4/api/native-sign-in", newcomer).status, 200) << "without credentials";
  EXPECT_EQ(client().post("/v4/api/native-sign-in", newcomer, {"Authorization: Bearer bad"}).status, 401);
}

TEST_F(DevBackendSignIn, UserOrAnonymousSetsTheCookiesThatAreWanted) {
  const auto all = client().post("/v3/user/oranonymous", "");
  EXPECT_EQ(all.json("anonymous"), "true");
  EXPECT_NE(all.cookie("lxauth"), "");
  backend->setCookies({.authToken = false, .csrfToken = false, .authPolicy = false, .trustedDeviceID = true});
  const auto known = client().post("/v3/user/oranonymous", "", {"Cookie: lxauth=lxauth-ordinary; tdi=mine"});
  EXPECT_EQ(known.json("id"), "1001");
  EXPECT_EQ(known.cookie("lxauth") + known.cookie("csrf-token") + known.cookie("auth-policy"), "");
  EXPECT_THAT(known.cookie("tdi"), testing::StartsWith("mine;"));
}

}  // namespace
}  // namespace lx::test
