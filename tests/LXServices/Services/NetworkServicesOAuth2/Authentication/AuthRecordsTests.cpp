#include <limits>

#include <gtest/gtest.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthModel.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthResponseAnalysis.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationErrorInfo.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"

namespace lx {
namespace {

using namespace std::chrono_literals;

const Date now = std::chrono::sys_days(2023y / 1 / 2) + 3h;

/// What the text decodes to and is written back as, or the fault.
template <class T>
std::string roundTrip(std::string_view text) {
  const auto record = decodeJSON<T>(text);
  return record ? encodeJSONText(*record).value_or("not encodable") : record.error().description();
}

TEST(OAuth2Credentials, LiveUntilAMinuteBeforeTheyExpire) {
  const struct {
    OAuth2Credentials credentials;
    bool needsRefresh, isValid;
  } cases[] = {
      {{"a", "r", now + 59s}, true, false},   {{"a", "r", now + 60s - 1us}, true, false},
      {{"a", "r", now + 60s}, false, true},   {{"a", "r", now - 1h}, true, false},
      {{"", "r", now + 1h}, false, false},    {{"a", "", now + 1h}, false, false},
      {{"a", "r", Date::max()}, false, true}, {{"a", "r", Date::min()}, true, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.credentials.needsRefresh(now), c.needsRefresh) << rfc3339(c.credentials.expirationDate);
    EXPECT_EQ(c.credentials.isValid(now), c.isValid) << rfc3339(c.credentials.expirationDate);
  }
}

TEST(OAuth2Credentials, LiveFromTheMomentOfDecodingAndKeepTheirDeviceApart) {
  const OAuth2AuthDTO dto = OAuth2AuthDTO::make(OAuth2CredentialsResponse{"a", "r", 3600, "tdi"}, now);
  EXPECT_EQ(dto.oauth2Credentials, (OAuth2Credentials{"a", "r", now + 1h}));
  EXPECT_EQ(dto.deviceAuthData.trustedDeviceID, "tdi");
  const OAuth2CredentialsNativeSignonResponse native{{"a", "r", 1, std::nullopt}, OAuth2NativeSignonAction::signup};
  EXPECT_EQ(OAuth2AuthDTO::make(native, now).oauth2Credentials.expirationDate, now + 1s);
  EXPECT_EQ(OAuth2AuthDTO::make(native, now).deviceAuthData, DeviceAuthData::empty);
  const OAuth2CredentialsResponse forever{"a", "r", std::numeric_limits<std::int64_t>::max(), std::nullopt};
  EXPECT_EQ(OAuth2Credentials::make(forever, now).expirationDate, Date::max());
}

TEST(AuthRecords, AreReadStrictlyAndWrittenInTheirOrder) {
  using Credentials = OAuth2Credentials;
  using Response = OAuth2CredentialsResponse;
  using Native = OAuth2CredentialsNativeSignonResponse;
  const struct {
    std::string (*roundTrip)(std::string_view);
    std::string_view text;
    std::string_view result;
  } cases[] = {
      {roundTrip<Credentials>, R"({"expirationDate":1.5,"refreshToken":"r","accessToken":"a"})",
       R"({"accessToken":"a","refreshToken":"r","expirationDate":1.5})"},
      {roundTrip<Response>, R"({"refresh_token":"r","access_token":"a","expires_in":3600.0,"device_id":"d","x":1})",
       R"({"access_token":"a","refresh_token":"r","expires_in":3600,"device_id":"d"})"},
      {roundTrip<Response>, R"({"access_token":"a","refresh_token":"r","expires_in":1,"device_id":null})",
       R"({"access_token":"a","refresh_token":"r","expires_in":1})"},
      {roundTrip<Response>, R"({"refresh_token":"r","expires_in":1})", "access_token: missing"},
      {roundTrip<Response>, R"({"access_token":"a","expires_in":1})", "refresh_token: missing"},
      {roundTrip<Response>, R"({"access_token":"a","refresh_token":"r"})", "expires_in: missing"},
      {roundTrip<Response>, R"({"access_token":"a","refresh_token":"r","expires_in":9000000001})",
       "expires_in: out of range"},
      {roundTrip<Response>, R"({"access_token":"a","refresh_token":"r","expires_in":-9000000001})",
       "expires_in: out of range"},
      {roundTrip<Native>,
       R"({"action":"SIGNUP","token_response":{"access_token":"a","refresh_token":"r","expires_in":1}})",
       R"({"token_response":{"access_token":"a","refresh_token":"r","expires_in":1},"action":"SIGNUP"})"},
      {roundTrip<Native>,
       R"({"action":"signin","token_response":{"access_token":"a","refresh_token":"r","expires_in":1}})",
       "action: malformed"},
      {roundTrip<AuthModel>, R"({"policyToken":"p","csrfToken":"c","authToken":"t","userId":"u"})",
       R"({"userId":"u","authToken":"t","csrfToken":"c","policyToken":"p"})"},
      {roundTrip<AuthModel>, R"({"userId":"u","authToken":"t"})", R"({"userId":"u","authToken":"t"})"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.roundTrip(c.text), c.result) << c.text;
}

TEST(AuthErrors, OnlyTheExactMessageCondemnsARefreshToken) {
  const struct {
    std::string_view body;
    bool isInvalid;
    std::string_view details;
  } cases[] = {
      {R"({"message":"Invalid refresh token"})", true, "{ message: Invalid refresh token }"},
      {R"({"message":"invalid refresh token"})", false, "{ message: invalid refresh token }"},
      {R"({"message":"Invalid refresh token."})", false, "{ message: Invalid refresh token. }"},
      {R"({"message":null})", false, ""},
      {R"({})", false, ""},
  };
  for (const auto& c : cases) {
    const auto info = decodeJSON<TokenRefreshErrorInfo>(c.body);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->isInvalidRefreshToken(), c.isInvalid) << c.body;
    EXPECT_EQ(info->errorDescriptionDetails(), c.details);
  }
  EXPECT_EQ(decodeJSON<AuthenticationErrorInfo>(R"({"message":"m"})")->errorDescriptionDetails(), "{ message: m }");
  EXPECT_FALSE(decodeJSON<AuthenticationErrorInfo>("{}"));
}

TEST(AuthErrors, ABlockReasonComesWithA403AloneAndFromTheAuthServerAlone) {
  const auto reasonOf = [](int status, std::optional<std::string_view> body) {
    NetworkResponse response;
    response.statusCode = status;
    if (body) response.body = std::make_shared<const Data>(dataOf(*body));
    const auto analyzed = analyzeAuthResponse()(response);
    if (analyzed) return std::string("success");
    const auto reason = blockReason(*analyzed.error().as<NetworkServiceError>());
    return reason ? reason->rawValue : "none";
  };
  constexpr std::string_view body = R"({"error":"stand_with_ukraine"})";
  EXPECT_EQ(reasonOf(403, body), AuthBlockReason::standWithUkraine.rawValue);
  EXPECT_EQ(reasonOf(403, R"({"error":"new"})"), "new");
  EXPECT_EQ(reasonOf(401, body), "none");
  EXPECT_EQ(reasonOf(403, R"({"message":"x"})"), "none");
  EXPECT_EQ(reasonOf(403, std::nullopt), "none");
  EXPECT_EQ(reasonOf(200, body), "success");

  NetworkResponse forbidden;
  forbidden.statusCode = 403;
  const auto otherInfo = std::make_shared<TokenRefreshErrorInfo>("client_policy_violation");
  EXPECT_FALSE(blockReason(NetworkServiceError{NetworkServiceError::ServerError{forbidden, otherInfo}}));
  EXPECT_FALSE(blockReason(NetworkServiceError{NetworkServiceError::MissingBody{forbidden}}));
}

}  // namespace
}  // namespace lx
