#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AnonymousServiceOAuth2.h"
#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXServices/Services/UnifiedSignin/OAuthService.h"
#include "LXServices/Services/UserService.h"
#include "LXTesting/ManualClock.h"

#include "Core/StackFixture.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

HTTPHeaders cookies(std::initializer_list<std::string> setCookies) {
  HTTPHeaders headers;
  for (const auto& cookie : setCookies) headers.add("Set-Cookie", cookie);
  return headers;
}

TEST(TokenEndpoint, GetsEveryGrantsBodyInItsOrderWithoutAnAccessToken) {
  struct Case {
    std::string body;
    std::function<void(StackFixture&)> operation;
  };
  const OAuth2Credentials credentials{"A", "R/1", {}};
  const std::vector<Case> cases = {
      {R"({"refresh_token":"R/1","grant_type":"refresh_token","client_id":"mobile-ios"})",
       [&](StackFixture& s) { EXPECT_TRUE(s.await(s.builder.tokenRefreshService()->refresh(credentials))); }},
      {R"({"grant_type":"urn:ietf:params:oauth:grant-type:token-exchange",)"
       R"("subject_token_type":"urn:lexiconia:params:oauth:token-type:lxauth","subject_token":"L",)"
       R"("client_id":"mobile-ios","scopes":"lexiconia.corva.all","device_id":"D"})",
       [](StackFixture& s) {
         ASSERT_TRUE(s.store->storeDeviceAuthData({"D"}));
         const auto dto = s.await(s.builder.silentAuthorizationManager()->exchange({"L", {}, {}}));
         EXPECT_EQ(dto->deviceAuthData.trustedDeviceID, "tdi-1");
         EXPECT_EQ(dto->oauth2Credentials.expirationDate, s.clock->now() + std::chrono::hours(1));
       }},
      {R"({"client_id":"mobile-ios","grant_type":"urn:ietf:params:oauth:grant-type:client_id"})",
       [](StackFixture& s) {
         AnonymousServiceOAuth2Impl service(s.environment, s.builder.oauth2LooseNetworkService(), s.clock);
         const auto anonymous = s.await(service.authenticateAnonymous());
         EXPECT_TRUE(anonymous->isValid(s.clock->now()));
       }},
      {R"({"authorization_code":"C","code_verifier":"V","client_id":"mobile-ios","grant_type":"authorization_code",)"
       R"("device_id":"D"})",
       [](StackFixture& s) {
         EXPECT_TRUE(s.await(s.builder.authenticationService()->unifiedSignonExchangeCode("C", "V", "D")));
       }},
  };
  for (const auto& [body, operation] : cases) {
    StackFixture stack(ScriptedURLSession::answering({tokenResponse("x")}));
    operation(stack);
    const auto request = stack.session->requests().at(0);
    EXPECT_EQ(bodyText(request), body);
    EXPECT_EQ(header(request, HTTPHeaderName::contentType), "application/json; charset=utf-8");
    EXPECT_EQ(request.timeout, std::chrono::seconds(10));
    EXPECT_EQ(header(request, HTTPHeaderName::authorization), "(none)");
    EXPECT_EQ(header(request, HTTPHeaderName::clientType), "mobile-ios");
  }
}

TEST(AuthUtility, VerifiersAreOfTheirLengthAndAlphabet) {
  const AuthUtilityImpl utility;
  EXPECT_EQ(utility.calculateCodeChallenge("caf\xC3\xA9"), "");
  for (const int length : {0, 32, 1280}) {
    const auto verifier = utility.generateCodeVerifier(length);
    EXPECT_EQ(verifier.size(), static_cast<std::size_t>(length));
    EXPECT_EQ(verifier.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"),
              std::string::npos);
  }
  EXPECT_FALSE(utility.generateState(32) == utility.generateState(32));
}

TEST(SocialSignon, BodiesHaveTheNamesOfTheirProviders) {
  const SignonContextGoogle google{{SocialRequestPayload::AccessToken{"G", {"Name", std::nullopt}}}, std::nullopt};
  EXPECT_EQ(encodeJSONText(google).value(), R"({"google_signin":{"access_token":"G","name":"Name"}})");
  const SignonContextApple apple{{SocialRequestPayload::Code{"C", {std::nullopt, "a@b.test"}}}, "D"};
  EXPECT_EQ(encodeJSONText(apple).value(), R"({"apple_signin":{"code":"C","email":"a@b.test"},"device_id":"D"})");
  EXPECT_EQ(encodeJSONText(OAuth2SocialSignonPayload{"T", "D", {}, "e"}).value(),
            R"({"socialProviderToken":"T","tdi":"D","email":"e"})");
}

// What the services make of answers that the backend does not give by itself.

TEST(OAuthService, ReadsTheCodeAndNeedsBothCookies) {
  EXPECT_EQ(OAuthCodeGenerateResponse{*URL::make("https://w.test/cb?x=1&code=C%201")}.code(), "C 1");
  EXPECT_EQ(OAuthCodeGenerateResponse{*URL::make("https://w.test/cb")}.code(), std::nullopt);
  const auto exchange = [](HTTPHeaders headers) {
    StackFixture stack(ScriptedURLSession::answering({makeResponse(200, "", std::move(headers))}));
    return stack.await(
        OAuthServiceImpl(stack.builder.oauth2NetworkService(), stack.environment).exchangeCode("C", "V", "cid"));
  };
  EXPECT_EQ(*exchange(cookies({"lxauth=L; Path=/", "csrf-token=X"})),
            (OAuthCodeExchangeResponse{"L", "X", std::nullopt}));
  for (const auto& incomplete : {cookies({"lxauth=L"}), cookies({"csrf-token=X", "tdi=T"})}) {
    const auto error = exchange(incomplete).error();
    const auto& missing = std::get<NetworkServiceError::MissingCookies>(error.as<NetworkServiceError>()->reason);
    EXPECT_THAT(missing.names, ElementsAre(HTTPCookieName::authToken, HTTPCookieName::csrfToken));
  }
}

TEST(OrAnonymousService, GivesASessionOnlyForBothItsCookies) {
  const auto auth = [](HTTPHeaders headers, Date now = Clock::system()->now()) {
    const auto body = R"({"id":"1","email":"a@b.test","anonymous":false,"isTest":true})";
    StackFixture stack(ScriptedURLSession::answering({makeResponse(200, body, std::move(headers))}));
    return *stack.await(OrAnonymousServiceImpl(stack.builder.oauth2LooseNetworkService(), *stack.environment,
                                               std::make_shared<ManualClock>(now))
                            .auth());
  };
  EXPECT_EQ(std::get<1>(auth(cookies({"csrf-token=C", "auth-policy=P"}))), std::nullopt);
  EXPECT_EQ(std::get<1>(auth(cookies({"csrf-token=C", "lxauth=L"}))), (UserAuthData{"L", "C", std::nullopt}));
  const auto expiring = cookies({"csrf-token=C", "lxauth=L; Expires=Fri, 01 Jan 2100 00:00:00 GMT"});
  const Date expiry = std::chrono::sys_days{std::chrono::January / 1 / 2100};
  EXPECT_TRUE(std::get<1>(auth(expiring, expiry)));
  EXPECT_FALSE(std::get<1>(auth(expiring, expiry + std::chrono::days(2))));
  const auto device = auth(cookies({"lxauth=L", "lxauth=; Max-Age=0", "tdi=T"}));
  EXPECT_EQ(std::get<1>(device), std::nullopt);
  EXPECT_EQ(std::get<2>(device), DeviceAuthData{"T"});
}

}  // namespace
}  // namespace lx
