#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"

namespace lx::backend {

/// Whom tokens or a code are for.
struct Grantee {
  std::string userID;
  std::string clientID;  ///< empty stands for any client

  bool isClient(const std::string& client) const { return clientID.empty() || clientID == client; }
};

struct IssuedTokens {
  std::string accessToken;
  std::string refreshToken;
  std::int64_t expiresIn = 0;
};

/// Access and refresh tokens. Each sign-in begins a family; refreshing replaces its pair. A refresh token that is used
/// again after its exchange ends the whole family, since one of its two users must be a thief (RFC 9700, section
/// 4.14.2), unless that happens within the grace window: then its exchange is answered with the same pair again.
/// Thread-safe.
class TokenStore {
 public:
  TokenStore(std::shared_ptr<Clock> clock, std::int64_t expiresIn, std::chrono::milliseconds grace);

  IssuedTokens issue(const Grantee& grantee);

  /// Nothing when the token is unknown, revoked, another client's, or was used before.
  std::optional<IssuedTokens> refresh(const std::string& refreshToken, const std::string& clientID);

  /// Whom a refresh token was issued to, used or not.
  std::optional<Grantee> granteeOf(const std::string& refreshToken) const;

  /// The user of an access token that is neither expired nor revoked.
  std::optional<std::string> userOf(const std::string& accessToken) const;

  /// Ends the family of a refresh token.
  void revoke(const std::string& refreshToken);
  void revokeAll();
  void expireAccessTokens();

  /// For access tokens issued from now on, in seconds.
  void setExpiresIn(std::int64_t seconds);
  void setGrace(std::chrono::milliseconds grace);

 private:
  struct Family {
    Grantee grantee;
    bool revoked = false;
  };
  struct RefreshToken {
    std::shared_ptr<Family> family;
    /// Set by its exchange, with the access token and the refresh token that took its place.
    std::optional<Clock::SteadyTime> usedAt;
    std::string nextAccessToken;
    std::string nextRefreshToken;
  };
  struct AccessToken {
    std::shared_ptr<Family> family;
    Clock::SteadyTime expiry;
  };
  struct State {
    std::int64_t expiresIn = 0;
    std::chrono::milliseconds grace{};
    std::map<std::string, RefreshToken> refreshTokens;
    std::map<std::string, AccessToken> accessTokens;
  };

  IssuedTokens issue(State& state, std::shared_ptr<Family> family) const;
  std::optional<IssuedTokens> answerAgain(const State& state, const RefreshToken& used) const;

  const std::shared_ptr<Clock> clock_;
  Protected<State> state_;
};

}  // namespace lx::backend
