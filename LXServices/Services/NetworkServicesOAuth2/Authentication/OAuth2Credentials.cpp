#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"

#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Digest.h"

namespace lx {

OAuth2Credentials OAuth2Credentials::make(const OAuth2CredentialsResponse& response, Date now) {
  return {response.accessToken, response.refreshToken, addingSeconds(now, response.expiresIn)};
}

bool OAuth2Credentials::needsRefresh(Date now) const {
  constexpr std::int64_t marginInSeconds = 60;
  return addingSeconds(now, marginInSeconds) > expirationDate;
}

bool OAuth2Credentials::isValid(Date now) const {
  return !accessToken.empty() && !refreshToken.empty() && !needsRefresh(now);
}

// A token holds no NUL, so that the fields cannot run into each other.
std::string digest(const OAuth2Credentials& credentials) {
  std::string text = credentials.accessToken;
  text.append(1, '\0').append(credentials.refreshToken);
  text.append(1, '\0').append(std::to_string(credentials.expirationDate.time_since_epoch().count()));
  return urlSafeBase64EncodedString(sha256(dataOf(text)));
}

bool haveSameTokens(const OAuth2Credentials& a, const OAuth2Credentials& b) {
  return a.accessToken == b.accessToken && a.refreshToken == b.refreshToken;
}

}  // namespace lx
