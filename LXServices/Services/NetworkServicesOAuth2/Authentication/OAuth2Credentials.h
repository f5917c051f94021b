#pragma once

#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsResponse.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/Date.h"

namespace lx {

/// What signs the user's requests.
struct OAuth2Credentials {
  std::string accessToken;
  std::string refreshToken;
  Date expirationDate;

  /// The credentials of a token response that was decoded at `now`.
  static OAuth2Credentials make(const OAuth2CredentialsResponse& response, Date now = Clock::system()->now());

  /// True when the access token expires within the next 60 seconds, or has expired.
  bool needsRefresh(Date now = Clock::system()->now()) const;

  /// True when both tokens are there and no refresh is needed.
  bool isValid(Date now = Clock::system()->now()) const;

  bool operator==(const OAuth2Credentials&) const = default;
};

/// A digest of all three fields, which reveals none of them: URL-safe base64 of SHA-256, 43 characters.
std::string digest(const OAuth2Credentials& credentials);

/// True if both tokens are equal: no refresh lies between the two, whatever their expiration dates say.
bool haveSameTokens(const OAuth2Credentials& a, const OAuth2Credentials& b);

template <>
struct Coding<OAuth2Credentials> {
  static constexpr auto fields = std::tuple{
      field("accessToken", &OAuth2Credentials::accessToken),
      field("refreshToken", &OAuth2Credentials::refreshToken),
      field("expirationDate", &OAuth2Credentials::expirationDate),
  };
};

}  // namespace lx
