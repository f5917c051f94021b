#pragma once

#include <string>

namespace lx {

/// The opaque `state` of an authorization request, which the redirect must bring back. Never printed.
struct OAuth2StateParam {
  std::string value;

  /// Takes the same time wherever the values differ.
  bool operator==(const OAuth2StateParam& other) const;
};

/// Makes the random values of an authorization request (RFC 7636, method S256). Any thread.
class AuthUtility {
 public:
  virtual ~AuthUtility() = default;

  /// `length` characters of RFC 7636's unreserved set, from the system's random source.
  virtual std::string generateCodeVerifier(int length) const = 0;

  /// base64url(SHA-256(verifier)) without padding; empty for a verifier that is not ASCII.
  virtual std::string calculateCodeChallenge(const std::string& codeVerifier) const = 0;

  virtual OAuth2StateParam generateState(int length) const = 0;
};

class AuthUtilityImpl final : public AuthUtility {
 public:
  std::string generateCodeVerifier(int length) const override;
  std::string calculateCodeChallenge(const std::string& codeVerifier) const override;
  OAuth2StateParam generateState(int length) const override;
};

}  // namespace lx
