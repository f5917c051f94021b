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

}  // namespace
}  // namespace lx::test
