#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"

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

bool haveSameTokens(const OAuth2Credentials& a, const OAuth2Credentials& b) {
  return a.accessToken == b.accessToken && a.refreshToken == b.refreshToken;
}

}  // namespace lx
