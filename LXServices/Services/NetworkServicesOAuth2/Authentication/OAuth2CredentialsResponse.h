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
  std::int64_t expiresIn = 0;  ///< seconds from the moment of decoding, 9,000,000,000 at most; negative: expired before
  std::optional<std::string> trustedDeviceID;

  bool operator==(const OAuth2CredentialsResponse&) const = default;
};

/// Seconds that lead from now to a date which JSON keeps to the microsecond: 285 years, either way.
struct TokenLifetimeFormat {
  static Decoded<std::int64_t> decode(JSONValue value) {
    constexpr std::int64_t longest = 9'000'000'000;
    std::int64_t seconds = 0;
    DecodingError error;
    if (!coding::decodeInteger(value, -longest, longest, seconds, error)) return std::unexpected(error.fault);
    return seconds;
  }
  static void encode(JSONWriter& writer, std::int64_t seconds) { writer.integer(seconds); }
};

template <>
struct Coding<OAuth2CredentialsResponse> {
  static constexpr auto fields = std::tuple{
      field("access_token", &OAuth2CredentialsResponse::accessToken),
      field("refresh_token", &OAuth2CredentialsResponse::refreshToken),
      field<TokenLifetimeFormat>("expires_in", &OAuth2CredentialsResponse::expiresIn),
      field("device_id", &OAuth2CredentialsResponse::trustedDeviceID),
  };
};

}  // namespace lx
