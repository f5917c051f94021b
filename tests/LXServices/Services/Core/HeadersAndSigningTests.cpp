#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Core/HeadersProvider.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/JSONRequest.h"

#include "StackFixture.h"

namespace lx {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

struct FakeAuthData final : AuthDataProvider {
  std::optional<UserAuthData> authData() const override { return data; }
  std::optional<std::string> trustedDeviceID() const override { return device; }
  std::optional<UserAuthData> data;
  std::optional<std::string> device;
};

struct RecordingSink final : LogSink {
  void write(const LogRecord& record) override {
    messages.push_back(std::to_string(record.level) + " " + std::string(record.logger) + " " +
                       std::string(record.message));
  }
  std::vector<std::string> messages;
};

const auto clientHeaders = [](const std::string& version = "1.2.3") {
  return std::vector<HTTPHeaders::Field>{{"Origin", testEnvironment()->origin()},
                                         {"X-Client-Type", "mobile-ios"},
                                         {"X-Client-Version", version},
                                         {"X-Container-Id", "container-1"}};
};

TEST(HeadersProviderOAuth2, SendsTheClientsHeadersAndTheEnrollmentAndComputesTheFormerOnce) {
  const auto app = std::make_shared<FakeAppService>();
  const HeadersProviderOAuth2Impl plain(app, testEnvironment(), std::nullopt);
  const HeadersProviderOAuth2Impl enrolled(app, testEnvironment(), "E1");
  const auto first = plain.getCommonWSSHeaders();
  app->version = "9";

  EXPECT_EQ(first.fields(), clientHeaders());
  EXPECT_EQ(plain.getHTTPHeaders(), plain.getCommonHTTPHeaders());
  auto expected = clientHeaders("9");
  expected.emplace_back("X-Auth-Policy", "enrollmentToken=E1");
  EXPECT_EQ(enrolled.getCommonHTTPHeaders().fields(), expected);
  EXPECT_EQ(enrolled.getCommonWSSHeaders().fields(), expected);
}

TEST(HeadersProvider, SendsWhatTheAuthDataProviderHasAsCookies) {
  HeadersProvider provider(std::make_shared<FakeAppService>(), testEnvironment(), "E1");
  auto auth = std::make_shared<FakeAuthData>();
  provider.setAuthDataProvider(auth);
  const auto extra = [&] {
    auto fields = provider.getHTTPHeaders().fields();
    EXPECT_EQ(fields.back(), HTTPHeaders::Field("X-Auth-Policy", "enrollmentToken=E1"));
    return std::vector(fields.begin() + 4, fields.end() - 1);
  };

  EXPECT_THAT(extra(), ElementsAre());
  auth->data = UserAuthData{.authToken = "A", .csrfToken = {}, .policyToken = "never sent"};
  EXPECT_THAT(extra(), ElementsAre(Pair("Cookie", "lxauth=A")));
  EXPECT_FALSE(provider.hasTrustedDeviceID());
  auth->data->csrfToken = "C";
  auth->device = "T";
  EXPECT_THAT(extra(), ElementsAre(Pair("X-CSRF-Token", "C"), Pair("Cookie", "lxauth=A; csrf-token=C; tdi=T")));
  EXPECT_TRUE(provider.hasAuthHeaders() && provider.hasTrustedDeviceID());
  auth.reset();
  EXPECT_THAT(extra(), ElementsAre());
  EXPECT_FALSE(provider.hasAuthHeaders());
}

TEST(URLRequestSigner, PlacesTheTokenByTheScheme) {
  const auto sink = std::make_shared<RecordingSink>();
  Logging::setSink(sink);
  const URLRequestSignerOAuth2Impl signer(
      std::make_shared<HeadersProviderOAuth2Impl>(std::make_shared<FakeAppService>(), testEnvironment(), std::nullopt));
  const auto sign = [&](URLRequest request) {
    URLRequest result;
    signer.sign(request, "T/1", [&](URLRequest signedRequest) { result = std::move(signedRequest); });
    return result;
  };
  const auto signedHeaders = [](const URLRequest& request) { return request.headers.fields(); };

  URLRequest https(HTTPMethod::get, *URL::make("https://h.test/p?q=1"));
  https.headers.set("authorization", "from the caller");
  https.headers.set("x-client-type", "from the caller");
  const auto signedHTTPS = sign(https);
  EXPECT_EQ(signedHTTPS.url, https.url);
  EXPECT_EQ(header(signedHTTPS, HTTPHeaderName::authorization), "Bearer T/1");
  EXPECT_EQ(header(signedHTTPS, HTTPHeaderName::clientType), "mobile-ios");
  EXPECT_EQ(signedHTTPS.headers.fields().size(), 5U);

  const auto signedWSS = sign(URLRequest(HTTPMethod::get, *URL::make("wss://h.test/ws?a=b%20c&access_token=old&d")));
  EXPECT_EQ(signedWSS.url->string(), "wss://h.test/ws?a=b%20c&access_token=T%2F1&d");
  EXPECT_EQ(sign(signedWSS).url, signedWSS.url);
  EXPECT_EQ(signedHeaders(signedWSS), clientHeaders());

  for (const auto& [url, shown] : {std::pair("ftp://h.test/", "ftp"), std::pair("HTTPS://h.test/", "HTTPS"),
                                   std::pair("//h.test/", "nil"), std::pair("", "nil")}) {
    URLRequest request(HTTPMethod::get, URL());
    request.url = *url ? std::optional(*URL::make(url)) : std::nullopt;
    EXPECT_EQ(sign(request), request);
    EXPECT_EQ(
        sink->messages.back(),
        std::string("4 oauth2 Received request with scheme for which authorization is not implemented: ") + shown);
  }
  EXPECT_EQ(sink->messages.size(), 4U);
  Logging::setSink(nullptr);
}

TEST(JSONRequest, ABodyThatCannotBeEncodedIsLeftOut) {
  const auto url = *URL::make("https://h.test/");
  const auto request = makeJSONRequest(url, UserAuthData{.authToken = "\xFF", .csrfToken = {}, .policyToken = {}});
  EXPECT_EQ(request, URLRequest(HTTPMethod::post, url, HTTPContentType::jsonWithUTF8));
}

}  // namespace
}  // namespace lx
