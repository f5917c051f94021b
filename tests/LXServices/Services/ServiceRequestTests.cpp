#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AnonymousServiceOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthServerErrorInfo.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationErrorInfo.h"
#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXServices/Services/UnifiedSignin/OAuthService.h"
#include "LXServices/Services/UserService.h"

#include "Core/StackFixture.h"

namespace lx {
namespace {

using ::testing::ElementsAre;

constexpr const char* userBody = R"({"id":"1","email":"a@b.test","anonymous":false,"isTest":true})";

HTTPHeaders cookies(std::initializer_list<std::string> setCookies) {
  HTTPHeaders headers;
  for (const auto& cookie : setCookies) headers.add("Set-Cookie", cookie);
  return headers;
}

// Sends through the whole stack with one answer to all requests, and gives the first request that went out.
template <class Operation>
URLRequest sent(NetworkResponse answer, Operation operation) {
  StackFixture stack(ScriptedURLSession::answering({std::move(answer)}));
  operation(stack);
  return stack.session->requests().at(0);
}

std::string line(const URLRequest& request) {
  const auto& url = *request.url;
  std::string text(rawValue(request.method));
  text.append(" ").append(url.path());
  if (url.query()) text.append("?").append(*url.query());
  return text.append(" ").append(header(request, HTTPHeaderName::contentType));
}

constexpr const char* json = "application/json; charset=utf-8";

struct GoogleProvider final : OAuth2SocialSignonCodeExchangeRequestBodyProvider {
  EncodableBody requestBody(const OAuth2SocialSignonPayload& payload) const override {
    return SignonContextGoogle{
        {SocialRequestPayload::AccessToken{payload.socialProviderToken, {payload.name, payload.email}}}, payload.tdi};
  }
};

TEST(TokenEndpoint, GetsEveryGrantsBodyInItsOrderWithoutAnAccessToken) {
  const std::string token = std::string("POST /v4/api/oauth2/token ") + json;
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
       R"("client_id":"mobile-ios","scopes":"lexiconia.corva.all"})",
       [](StackFixture& s) {
         const auto dto = s.await(s.builder.silentAuthorizationManager()->exchange({"L", {}, {}}));
         EXPECT_EQ(dto->deviceAuthData.trustedDeviceID, "tdi-1");
         EXPECT_EQ(dto->oauth2Credentials.expirationDate, s.clock->now() + std::chrono::hours(1));
       }},
      {R"({"grant_type":"urn:ietf:params:oauth:grant-type:token-exchange",)"
       R"("subject_token_type":"urn:lexiconia:params:oauth:token-type:lxauth","subject_token":"L",)"
       R"("client_id":"mobile-ios","scopes":"lexiconia.corva.all","device_id":"D"})",
       [](StackFixture& s) {
         ASSERT_TRUE(s.store->storeDeviceAuthData({"D"}));
         EXPECT_TRUE(s.await(s.builder.silentAuthorizationManager()->exchange({"L", {}, {}})));
       }},
      {R"({"client_id":"mobile-ios","grant_type":"urn:ietf:params:oauth:grant-type:client_id"})",
       [](StackFixture& s) {
         AnonymousServiceOAuth2Impl service(s.environment, s.builder.oauth2LooseNetworkService(), s.clock);
         const auto anonymous = s.await(service.authenticateAnonymous());
         EXPECT_TRUE(anonymous->isValid(s.clock->now()));
         EXPECT_TRUE(anonymous->needsRefresh(s.clock->now() + std::chrono::minutes(59) + std::chrono::microseconds(1)));
       }},
      {R"({"authorization_code":"C","code_verifier":"V","client_id":"mobile-ios","grant_type":"authorization_code"})",
       [](StackFixture& s) {
         EXPECT_TRUE(s.await(s.builder.authenticationService()->unifiedSignonExchangeCode("C", "V", std::nullopt)));
       }},
      {R"({"authorization_code":"C","code_verifier":"V","client_id":"mobile-ios","grant_type":"authorization_code",)"
       R"("device_id":"D"})",
       [](StackFixture& s) {
         EXPECT_TRUE(s.await(s.builder.authenticationService()->unifiedSignonExchangeCode("C", "V", "D")));
       }},
  };
  for (const auto& [body, operation] : cases) {
    const auto request = sent(tokenResponse("x"), operation);
    EXPECT_EQ(bodyText(request), body);
    EXPECT_EQ(line(request), token);
    EXPECT_EQ(request.timeout, std::chrono::seconds(10));
    EXPECT_EQ(header(request, HTTPHeaderName::authorization), "(none)");
    EXPECT_EQ(header(request, HTTPHeaderName::clientType), "mobile-ios");
  }
}

TEST(TokenRefresh, AnswersAreClassified) {
  const auto refresh = [](NetworkResponse answer) {
    StackFixture stack(ScriptedURLSession::answering({std::move(answer)}));
    return stack.await(stack.builder.tokenRefreshService()->refresh({"A", "R", {}}));
  };
  const auto refused = refresh(makeResponse(401, R"({"message":"Invalid refresh token"})"));
  const auto* serverError = refused.error().as<NetworkServiceError>()->serverError();
  ASSERT_TRUE(serverError && serverError->info);
  EXPECT_EQ(serverError->info->errorDescriptionDetails(), "{ message: Invalid refresh token }");
  EXPECT_FALSE(refresh(makeResponse(403, "<html>")).error().as<NetworkServiceError>()->serverError()->info);
  EXPECT_EQ(refresh(makeResponse(200, R"({"access_token":"a","expires_in":1})")).error().description(),
            "refresh_token: missing");
  EXPECT_EQ(refresh(makeResponse(200)).error().typeName(), "NetworkServiceError.missingBody");
}

TEST(Revoke, SendsClientAndRefreshToken) {
  const auto request = sent(makeResponse(204), [](StackFixture& s) {
    EXPECT_TRUE(s.await(s.builder.oauth2CredentialsService()->revokeCredentials()));
  });
  EXPECT_EQ(bodyText(request), R"({"client_id":"mobile-ios","refresh_token":"refresh-1"})");
  EXPECT_EQ(line(request), std::string("POST /v4/api/revoke-by-refresh-token ") + json);
}

TEST(SocialSignon, SendsTheProvidersBodyAndTellsWhatTheBackendDid) {
  const std::string token = R"("token_response":{"access_token":"a","refresh_token":"r","expires_in":60})";
  const auto signOn = [&](NetworkResponse answer) {
    StackFixture stack(ScriptedURLSession::answering({std::move(answer)}));
    auto result = stack.await(stack.builder.authenticationService()->socialSignonExchangeSocialToken(
        GoogleProvider(), {"G", std::nullopt, "Name", std::nullopt}));
    return std::pair(std::move(result), stack.session->requests().at(0));
  };
  const auto [up, request] = signOn(makeResponse(200, "{" + token + R"(,"action":"SIGNUP"})"));
  EXPECT_EQ(bodyText(request), R"({"google_signin":{"access_token":"G","name":"Name"}})");
  EXPECT_EQ(line(request), std::string("POST /v4/api/native-sign-in ") + json);
  EXPECT_EQ(header(request, HTTPHeaderName::authorization), "(none)");
  EXPECT_EQ(up->second, OAuth2NativeSignonAction::signup);
  EXPECT_EQ(up->first.deviceAuthData, DeviceAuthData::empty);

  EXPECT_EQ(signOn(makeResponse(200, "{" + token + R"(,"action":"signin"})")).first.error().description(),
            "action: malformed");
  const auto refused = signOn(makeResponse(401, R"({"message":"no such account"})")).first;
  EXPECT_EQ(refused.error().as<NetworkServiceError>()->serverError()->info->errorDescriptionDetails(),
            "{ message: no such account }");

  const SignonContextApple apple{{SocialRequestPayload::Code{"C", {std::nullopt, "a@b.test"}}}, "D"};
  EXPECT_EQ(textView(*encodeJSON(apple)), R"({"apple_signin":{"code":"C","email":"a@b.test"},"device_id":"D"})");
  EXPECT_EQ(textView(*encodeJSON(OAuth2SocialSignonPayload{"T", "D", {}, "e"})),
            R"({"socialProviderToken":"T","tdi":"D","email":"e"})");
}

TEST(AuthUtility, FollowsRFC7636) {
  const AuthUtilityImpl utility;
  EXPECT_EQ(utility.calculateCodeChallenge("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
            "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
  EXPECT_EQ(utility.calculateCodeChallenge("caf\xC3\xA9"), "");
  for (const int length : {0, 32, 1280}) {
    const auto verifier = utility.generateCodeVerifier(length);
    EXPECT_EQ(verifier.size(), static_cast<std::size_t>(length));
    EXPECT_EQ(verifier.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"),
              std::string::npos);
  }
  EXPECT_FALSE(utility.generateState(32) == utility.generateState(32));
}

TEST(OAuthService, SendsTheRefererAndReadsCodeAndCookies) {
  const auto service = [](StackFixture& s) {
    return OAuthServiceImpl(s.builder.oauth2NetworkService(), s.environment);
  };
  const auto generate =
      sent(makeResponse(200, R"({"redirect_uri":"https://w.test/cb?x=1&code=C%201"})"), [&](StackFixture& s) {
        const auto response = s.await(service(s).generateCode("H", "cid"));
        EXPECT_EQ(response->code(), "C 1");
      });
  EXPECT_EQ(bodyText(generate), R"({"code_challenge":"H","client_id":"cid"})");
  EXPECT_EQ(line(generate), std::string("POST /v3/api/unified-login/code/generate ") + json);
  EXPECT_EQ(header(generate, HTTPHeaderName::referer), testEnvironment()->origin() + "/signin/oauth");
  EXPECT_EQ(header(generate, HTTPHeaderName::authorization), "Bearer access-1");
  EXPECT_EQ(OAuthCodeGenerateResponse{*URL::make("https://w.test/cb")}.code(), std::nullopt);

  const auto exchange = [&](HTTPHeaders headers) {
    StackFixture stack(ScriptedURLSession::answering({makeResponse(200, "", std::move(headers))}));
    auto result = stack.await(service(stack).exchangeCode("C", "V", "cid"));
    EXPECT_EQ(bodyText(stack.session->requests().at(0)), R"({"code":"C","code_verifier":"V","client_id":"cid"})");
    return result;
  };
  EXPECT_EQ(*exchange(cookies({"lxauth=L; Path=/", "csrf-token=X"})),
            (OAuthCodeExchangeResponse{"L", "X", std::nullopt}));
  EXPECT_EQ(exchange(cookies({"lxauth=L", "csrf-token=X", "tdi=T"}))->trustedDeviceID, "T");
  for (const auto& incomplete : {cookies({"lxauth=L"}), cookies({"csrf-token=X", "tdi=T"})}) {
    const auto error = exchange(incomplete).error();
    const auto& missing = std::get<NetworkServiceError::MissingCookies>(error.as<NetworkServiceError>()->reason);
    EXPECT_THAT(missing.names, ElementsAre(HTTPCookieName::authToken, HTTPCookieName::csrfToken));
  }
}

TEST(UserServices, SendTheirRequests) {
  const auto v3 = [](StackFixture& s) { return UserServiceImpl(s.builder.oauth2NetworkService(), s.environment); };
  EXPECT_EQ(line(sent(makeResponse(200, userBody), [&](StackFixture& s) { s.await(v3(s).fetchUser()); })),
            "GET /v3/user (none)");
  EXPECT_EQ(
      line(sent(makeResponse(200, userBody),
                [&](StackFixture& s) {
                  s.await(v3(s).fetchUser({{UserRequestQuery::Parameter::customField, UserRequestQuery::Value::role}}));
                })),
      "GET /v3/user?field=frontend_role (none)");
  EXPECT_EQ(line(sent(makeResponse(200, R"({"ok":true})"),
                      [&](StackFixture& s) { EXPECT_TRUE(s.await(v3(s).logout())->ok); })),
            "POST /v3/logout (none)");
  EXPECT_EQ(line(sent(makeResponse(200, userBody),
                      [&](StackFixture& s) {
                        s.await(UserServiceOAuth2Impl(s.builder.oauth2NetworkService(), s.environment).fetchUser());
                      })),
            std::string("GET /v4/api/user ") + json);
  const auto orAnonymous = sent(makeResponse(200, userBody), [&](StackFixture& s) {
    s.await(OrAnonymousServiceImpl(s.builder.oauth2LooseNetworkService(), *s.environment).auth());
  });
  EXPECT_EQ(line(orAnonymous), std::string("POST /v3/user/oranonymous ") + json);
  EXPECT_FALSE(orAnonymous.body);
}

TEST(UserServices, ReadUserAndCookies) {
  const auto fetch = [](NetworkResponse answer) {
    StackFixture stack(ScriptedURLSession::answering({std::move(answer)}));
    return stack.await(UserServiceOAuth2Impl(stack.builder.oauth2NetworkService(), stack.environment).fetchUser());
  };
  EXPECT_EQ(fetch(makeResponse(200, userBody))->authPolicyToken, std::nullopt);
  EXPECT_EQ(fetch(makeResponse(200, userBody, cookies({"auth-policy=P"})))->authPolicyToken, "P");
  EXPECT_EQ(fetch(makeResponse(200)).error().typeName(), "NetworkServiceError.missingBody");
  const auto undecodable = fetch(makeResponse(200, R"({"id":"1","anonymous":false,"isTest":true})")).error();
  const auto& reason = std::get<NetworkServiceError::UndecodableBody>(undecodable.as<NetworkServiceError>()->reason);
  EXPECT_EQ(reason.decodingError.description(), "email: missing");
  const auto blocked = fetch(makeResponse(403, R"({"error":"stand_with_ukraine"})")).error();
  EXPECT_EQ(blockReason(*blocked.as<NetworkServiceError>()), AuthBlockReason::standWithUkraine);

  const auto auth = [](HTTPHeaders headers) {
    StackFixture stack(ScriptedURLSession::answering({makeResponse(200, userBody, std::move(headers))}));
    return *stack.await(OrAnonymousServiceImpl(stack.builder.oauth2LooseNetworkService(), *stack.environment).auth());
  };
  EXPECT_EQ(std::get<1>(auth(cookies({"csrf-token=C", "auth-policy=P"}))), std::nullopt);
  EXPECT_EQ(std::get<1>(auth(cookies({"csrf-token=C", "lxauth=L"}))), (UserAuthData{"L", "C", std::nullopt}));
  const auto device = auth(cookies({"lxauth=L", "lxauth=; Max-Age=0", "tdi=T"}));
  EXPECT_EQ(std::get<1>(device), std::nullopt);
  EXPECT_EQ(std::get<2>(device), DeviceAuthData{"T"});
}

}  // namespace
}  // namespace lx
