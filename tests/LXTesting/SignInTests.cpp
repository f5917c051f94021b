#include "LXTesting/Fixture.h"

namespace lx::test {
namespace {

struct DevBackendSignIn : BackendTest {
  Answer submit(const std::string& path, const std::string& form) const {
    return post(path, form, {}, "application/x-www-form-urlencoded");
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
  EXPECT_THAT(get(path + "?" + form).body, testing::HasSubstr(R"(name="state" value="a&quot;b+c")"));
  EXPECT_EQ(get(path + "?client_id=mobile-ios").status, 400);

  const auto target = submit(path, form + "&screen_hint=signup&user=ordinary").header("Location");
  EXPECT_THAT(target, testing::StartsWith("lexiconia://oauth?code="));
  EXPECT_EQ(queryValue(target, "state"), "a%22b%2Bc");
  EXPECT_EQ(queryValue(target, "action"), "signup");
  EXPECT_EQ(submit(path, form + "&login_type=cancel").header("Location"),
            "lexiconia://oauth?state=a%22b%2Bc&login_type=cancel");
  EXPECT_EQ(submit(path, form + "&user=blocked").status, 403);
}

TEST_F(DevBackendSignIn, TheOlderPageEndsInACodeForCookies) {
  const auto page = "code_challenge=" + challenge + "&client_id=mobile-ios";
  EXPECT_EQ(get("/signin/app?" + page).status, 200);
  EXPECT_EQ(queryValue(submit("/signin/app", page + "&login_type=use_google").header("Location"), "login_type"),
            "use_google");
  const auto target = submit("/signup/app", page + "&user=institution").header("Location");
  EXPECT_EQ(queryValue(target, "code_challenge"), challenge);

  const auto body =
      R"({"code":")" + queryValue(target, "code") + R"(","code_verifier":")" + verifier + "\"," + mobile + "}";
  const std::string exchange = "/v3/api/unified-login/code/exchange";
  EXPECT_EQ(post(exchange, body).status, 403) << "without the referer";
  const auto exchanged = post(exchange, body, {{"Referer", "https://app.lexiconia.com/signin/oauth"}});
  const auto lxauth = exchanged.response.cookieValue(HTTPCookieName::authToken).value_or("");
  EXPECT_EQ(get("/v3/user", {{"Cookie", "a=b; lxauth=" + lxauth}}).json("id"), "1002") << exchanged.body;
}

TEST_F(DevBackendSignIn, NativeSignInRefusesBadCredentialsAndBlockedUsers) {
  const std::string blocked = R"({"google_signin":{"access_token":"google-blocked"}})";
  EXPECT_EQ(post("/v4/api/native-sign-in", blocked).status, 403);
  EXPECT_EQ(post("/v4/api/native-sign-in", blocked, {{"Authorization", "Bearer bad"}}).status, 401);
}

}  // namespace
}  // namespace lx::test
