#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXUtils/Network/HTTPCookieStorage.h"
#include "LXUtils/Network/NetworkResponse.h"

namespace lx {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Date start = std::chrono::sys_days{std::chrono::June / 15 / 2021};

class StandingClock final : public Clock {
 public:
  Date now() const override { return date; }
  SteadyTime steadyNow() const override { return {}; }
  Timer after(Duration, std::shared_ptr<DispatchQueue>, Work) override { return {}; }

  Date date = start;
};

struct Jar {
  std::shared_ptr<StandingClock> clock = std::make_shared<StandingClock>();
  HTTPCookieStorage storage{clock};

  void receive(const std::string& url, const std::vector<std::string>& setCookies) {
    HTTPHeaders headers;
    for (const auto& line : setCookies) headers.add("set-cookie", line);
    storage.storeFrom(*URL::make(url), headers);
  }
  std::string sent(const std::string& url) { return storage.cookieHeaderFor(*URL::make(url)); }
};

TEST(HTTPCookie, ReadsSetCookieAsTheStandardSays) {
  const auto origin = *URL::make("https://Www.Example.com/docs/web/index.html?q=/x");
  struct Case {
    const char* line;
    std::optional<HTTPCookie> cookie;
  };
  const auto cookie = [](auto change) {
    HTTPCookie plain{.name = "SID", .value = "31d4", .domain = "www.example.com", .path = "/docs/web"};
    change(plain);
    return std::optional(plain);
  };
  const std::vector<Case> cases = {
      {"SID=31d4", cookie([](auto&) {})},
      {"  SID \t= 31d4 ;", cookie([](auto&) {})},
      {"SID=\"31d4\"", cookie([](auto& c) { c.value = "\"31d4\""; })},
      {"SID=a=b", cookie([](auto& c) { c.value = "a=b"; })},
      {"SID=31d4;secure=yes;  HTTPONLY ;pAtH=/a;Unknown=1",
       cookie([](auto& c) { c.path = "/a", c.secure = c.httpOnly = true; })},
      {"SID=31d4; Path=/a; Path=relative", cookie([](auto&) {})},
      {"SID=31d4; Domain=Example.COM", cookie([](auto& c) { c.domain = "example.com", c.hostOnly = false; })},
      {"SID=31d4; Domain=.example.com; Domain=", cookie([](auto& c) { c.domain = "example.com", c.hostOnly = false; })},
      {"SID=31d4; Max-Age=60; Expires=Wed, 09 Jun 2021 10:18:14 GMT", cookie([](auto& c) { c.expires = start + 60s; })},
      {"SID=31d4; Expires=Wed, 09 Jun 2021 10:18:14 GMT; Max-Age=soon",
       cookie([](auto& c) { c.expires = start - days(6) + 10h + 18min + 14s; })},
      {"SID=31d4; Max-Age=-1", cookie([](auto& c) { c.expires = Date::min(); })},
      {"SID=31d4; Max-Age=99999999999999999999", cookie([](auto& c) { c.expires = start + 10'000'000'000s; })},
      {"SID=31d4; Max-Age=; Max-Age=-; Max-Age=+5; Expires=never", cookie([](auto&) {})},
      {"no pair", std::nullopt},
      {"=value", std::nullopt},
      {"", std::nullopt},
      {"SID=31\x01"
       "d4",
       std::nullopt},
      {"SID=31d4; Path=/\x7f", std::nullopt},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(HTTPCookie::parse(line, origin, start), expected) << line;

  for (const auto& [url, path] :
       {std::pair("http://h", "/"), {"http://h/a", "/"}, {"http://h/a/", "/a"}, {"http://h/a/b/c", "/a/b"}}) {
    EXPECT_EQ(HTTPCookie::parse("a=b", *URL::make(url), start)->path, path) << url;
  }
}

TEST(HTTPCookie, ReadsDatesLeniently) {
  const Date expected = std::chrono::sys_days{std::chrono::November / 6 / 1994} + 8h + 49min + 37s;
  for (const auto text : {"Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994",
                          "6 november 1994 8:49:37 +0500", "08:49:37xyz 6th Nov 1994 Dec 2001"}) {
    EXPECT_EQ(HTTPCookie::parseDate(text), expected) << text;
  }
  EXPECT_EQ(HTTPCookie::parseDate("1 Jan 69 0:0:0"), Date(std::chrono::sys_days{std::chrono::January / 1 / 2069}));
  EXPECT_EQ(HTTPCookie::parseDate("1 Jan 70 0:0:0"), Date{});
  for (const auto text :
       {"", "Sun, 06 Nov 1994", "06 Nov 1994 08:49", "06 Nov 1994 24:00:00", "06 Nov 1994 08:60:00",
        "31 Feb 2021 00:00:00", "0 Nov 1994 08:49:37", "06 Nov 1600 08:49:37", "06 Nov 12345 08:49:37",
        "06 Noo 1994 08:49:37", "006 Nov 94 08:49:37", "94 Nov 06 08:49:37"}) {
    EXPECT_FALSE(HTTPCookie::parseDate(text)) << text;
  }
}

TEST(HTTPCookieStorage, SendsACookieExactlyWhereItBelongs) {
  struct Case {
    const char* origin;
    const char* setCookie;
    const char* url;
    bool sent;
  };
  const std::vector<Case> cases = {
      // Hosts and domains.
      {"http://example.com/", "a=b", "http://example.com/", true},
      {"http://example.com/", "a=b", "http://EXAMPLE.com:8080/x", true},
      {"http://example.com/", "a=b", "http://www.example.com/", false},
      {"http://www.example.com/", "a=b; Domain=example.com", "http://api.example.com/", true},
      {"http://www.example.com/", "a=b; Domain=example.com", "http://badexample.com/", false},
      {"http://www.example.com/", "a=b; Domain=other.com", "http://other.com/", false},
      {"http://example.com/", "a=b; Domain=www.example.com", "http://www.example.com/", false},
      // Public suffixes.
      {"http://shop.co.uk/", "a=b; Domain=co.uk", "http://bank.co.uk/", false},
      {"http://shop.co.uk/", "a=b; Domain=co.uk", "http://shop.co.uk/", false},
      {"http://example.com/", "a=b; Domain=com", "http://example.com/", false},
      {"http://localhost/", "a=b; Domain=localhost", "http://localhost/", true},
      {"http://localhost/", "a=b; Domain=localhost", "http://a.localhost/", false},
      // Addresses.
      {"http://127.0.0.1/", "a=b", "http://127.0.0.1:81/", true},
      {"http://127.0.0.1/", "a=b; Domain=0.0.1", "http://127.0.0.1/", false},
      {"http://[::1]/", "a=b", "http://[::1]/", true},
      // Paths.
      {"http://example.com/a/b", "x=1", "http://example.com/a/c", true},
      {"http://example.com/a/b", "x=1", "http://example.com/a", true},
      {"http://example.com/a/b", "x=1", "http://example.com/ab", false},
      {"http://example.com/", "x=1; Path=/a/", "http://example.com/a", false},
      // Secure cookies and the promises of names.
      {"https://example.com/", "a=b; Secure", "http://example.com/", false},
      {"http://example.com/", "a=b; Secure", "https://example.com/", false},
      {"https://example.com/", "__Secure-a=b", "https://example.com/", false},
      {"https://example.com/", "__Host-a=b; Secure; Path=/", "https://example.com/", true},
      {"https://example.com/", "__Host-a=b; Secure; Path=/x", "https://example.com/x", false},
      {"https://example.com/", "__host-a=b; Secure; Path=/; Domain=example.com", "https://example.com/", false},
      // Time.
      {"http://example.com/", "a=b; Expires=Tue, 15 Jun 2021 00:00:00 GMT", "http://example.com/", false},
      {"http://example.com/", "a=b; Expires=Tue, 15 Jun 2021 00:00:01 GMT", "http://example.com/", true},
  };
  for (const auto& [origin, setCookie, url, sent] : cases) {
    Jar jar;
    jar.receive(origin, {setCookie});
    EXPECT_EQ(!jar.sent(url).empty(), sent) << origin << " sets " << setCookie << " for " << url;
  }
}

TEST(HTTPCookieStorage, OrdersReplacesExpiresAndDeletes) {
  Jar jar;
  jar.receive("https://example.com/a/b", {"one=1; Path=/", "two=2; Path=/a", "three=3; Path=/", "four=4; Max-Age=10"});
  EXPECT_EQ(jar.sent("https://example.com/a/"), "two=2; four=4; one=1; three=3");

  jar.receive("https://example.com/", {"one=new", "three=; Max-Age=0"});
  jar.clock->date += 10s;
  EXPECT_EQ(jar.sent("https://example.com/a"), "two=2; one=new");
  EXPECT_EQ(jar.storage.all().size(), 2u);

  for (const auto& cookie : jar.storage.all()) jar.storage.deleteCookie(cookie);
  EXPECT_THAT(jar.storage.all(), IsEmpty());
}

TEST(HTTPCookieStorage, DoesNotLetAnOpenConnectionPushASecureCookieAside) {
  Jar jar;
  jar.receive("https://example.com/", {"id=real; Secure; Path=/", "plain=1"});
  jar.receive("http://example.com/", {"id=forged; Path=/", "plain=2"});
  jar.receive("http://www.example.com/", {"id=forged; Domain=example.com; Path=/login"});
  EXPECT_EQ(jar.sent("https://example.com/login"), "id=real; plain=2");
}

TEST(HTTPCookieStorage, KeepsWithinItsLimitsAndDropsTheLeastRecentlyUsed) {
  Jar jar;
  jar.receive("http://a.com/", {"big=" + std::string(4093, 'x'), "large=" + std::string(4092, 'x')});
  EXPECT_EQ(jar.storage.all().size(), 1u);

  for (std::size_t i = 0; i < HTTPCookieStorage::maximumPerDomain; ++i) {
    jar.receive("http://b.com/", {"c" + std::to_string(i) + "=1; Path=/" + std::to_string(i)});
  }
  jar.sent("http://b.com/0");
  jar.receive("http://b.com/", {"another=1"});
  EXPECT_EQ(jar.sent("http://b.com/0"), "c0=1; another=1");
  EXPECT_EQ(jar.sent("http://b.com/1"), "another=1");

  for (std::size_t i = 0; i < HTTPCookieStorage::maximumTotal; ++i) {
    jar.receive("https://h" + std::to_string(i) + ".com/", {"c=1"});
  }
  EXPECT_EQ(jar.storage.all().size(), HTTPCookieStorage::maximumTotal);
}

TEST(NetworkResponse, GivesTheLastCookieThatNoneOfTheSamePlaceTookAway) {
  const auto value = [](const std::vector<std::string>& setCookies) {
    NetworkResponse response;
    response.url = *URL::make("https://auth.h.test/v3/login");
    for (const auto& line : setCookies) response.headers.add("Set-Cookie", line);
    return response.cookieValue(HTTPCookieName::authToken).value_or("(none)");
  };
  EXPECT_EQ(value({"lxauth=1", "lxauth=2", "other=3"}), "2");
  EXPECT_EQ(value({"lxauth=1", "lxauth=; Max-Age=0"}), "(none)");
  // From the host's cookie to the domain's.
  EXPECT_EQ(value({"lxauth=1; Domain=h.test; Path=/", "lxauth=; Max-Age=0; Path=/"}), "1");
  EXPECT_EQ(value({"lxauth=1", "lxauth=; Expires=Thu, 01 Jan 1970 00:00:00 GMT; Path=/v3/other"}), "1");
}

}  // namespace
}  // namespace lx
