#pragma once

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/DeviceAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsNativeSignonResponse.h"

namespace lx {

/// What a sign-in hands to its caller, who keeps it in the credentials store.
struct OAuth2AuthDTO {
  OAuth2Credentials oauth2Credentials;
  DeviceAuthData deviceAuthData;

  /// Of a response that was decoded at `now`.
  static OAuth2AuthDTO make(const OAuth2CredentialsResponse& response, Date now = Clock::system()->now()) {
    return {OAuth2Credentials::make(response, now), {response.trustedDeviceID}};
  }
  static OAuth2AuthDTO make(const OAuth2CredentialsNativeSignonResponse& response, Date now = Clock::system()->now()) {
    return make(response.tokenResponse, now);
  }

  bool operator==(const OAuth2AuthDTO&) const = default;
};

}  // namespace lx
