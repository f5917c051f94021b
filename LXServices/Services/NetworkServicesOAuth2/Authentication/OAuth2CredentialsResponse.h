#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LXUtils/Foundation/Coding.h"

namespace lx {

/// The token endpoint's answer to every grant.
struct OAuth2CredentialsResponse {
  std::string accessToken;
  std::string refreshToken;
  std::int64_t expiresIn = 0;  ///< seconds from the moment of decoding
  std::optional<std::string> trustedDeviceID;

  bool operator==(const OAuth2CredentialsResponse&) const = default;
};

template <>
struct Coding<OAuth2CredentialsResponse> {
  static constexpr auto fields = std::tuple{
      field("access_token", &OAuth2CredentialsResponse::accessToken),
      field("refresh_token", &OAuth2CredentialsResponse::refreshToken),
      field("expires_in", &OAuth2CredentialsResponse::expiresIn),
      field("device_id", &OAuth2CredentialsResponse::trustedDeviceID),
  };
};

}  // namespace lx
