#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Utils/CookieCleaner.h"
#include "LXServices/Services/NetworkServicesOAuth2/Utils/ServiceTools.h"
#include "LXUtils/Network/HTTPCookie.h"

namespace lx {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::SizeIs;

AnyJSON any(auto value) { return {std::move(value)}; }

TEST(ServiceTools, WritesNestedValuesWithBrackets) {
  const AnyJSON filter = any(AnyJSON::Object{{"a", any(std::int64_t{1})},
                                             {"b", any(AnyJSON::Array{any(true), any(1.5), any(AnyJSON::Null())})}});
  EXPECT_THAT(ServiceTools::queryComponents("filter", filter),
              ElementsAre(Pair("filter[a]", "1"), Pair("filter[b][]", "true"), Pair("filter[b][]", "1.5"),
                          Pair("filter[b][]", "null")));
}

TEST(ServiceTools, AddsToTheQueryThatIsThere) {
  const std::map<std::string, AnyJSON> parameters = {{"b", any(std::string("x y~"))}, {"c[]", any(std::string("&"))}};
  const auto added = [&](const char* url) { return ServiceTools::addQuery(*URL::make(url), parameters)->string(); };
  EXPECT_EQ(added("https://h.test/p?a=1#f"), "https://h.test/p?a=1&b=x%20y%7E&c%5B%5D=%26#f");
  EXPECT_EQ(added("https://h.test/p?"), "https://h.test/p?b=x%20y%7E&c%5B%5D=%26");
  EXPECT_EQ(ServiceTools::addQuery(*URL::make("https://h.test/"), {{"b", any(std::string("\xFF"))}}), std::nullopt);

  const auto before = ServiceTools::uriComponentAllowedChars();
  ServiceTools::setURIComponentAllowedChars(before | CharacterSet("~"));
  EXPECT_EQ(ServiceTools::encodeURIComponent("x y~"), "x%20y~");
  ServiceTools::setURIComponentAllowedChars(before);
}

TEST(CookieCleaner, DeletesByNameAndTellsWhich) {
  struct Sink final : LogSink {
    void write(const LogRecord& record) override { messages.emplace_back(record.message); }
    std::vector<std::string> messages;
  };
  const auto sink = std::make_shared<Sink>();
  const auto jar = std::make_shared<HTTPCookieStorage>();
  for (const auto* host : {"https://a.test/", "https://b.test/"}) {
    HTTPHeaders headers;
    headers.add("Set-Cookie", "lxauth=secret");
    headers.add("Set-Cookie", "other=kept");
    jar->storeFrom(*URL::make(host), headers);
  }
  Logging::setSink(sink);
  CookieCleanerImpl(Logger::auth, jar).cleanCookies({HTTPCookieName::csrfToken, HTTPCookieName::authToken});
  Logging::setSink(nullptr);

  EXPECT_THAT(jar->all(), SizeIs(2));
  EXPECT_THAT(sink->messages, ElementsAre("Did delete cookie: lxauth", "Did delete cookie: lxauth"));
}

}  // namespace
}  // namespace lx
