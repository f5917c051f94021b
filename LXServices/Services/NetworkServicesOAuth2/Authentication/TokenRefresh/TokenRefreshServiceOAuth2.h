#pragma once

#include <memory>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// Exchanges and revokes refresh tokens at the backend (RFC 6749, section 6, with JSON bodies). Stores nothing.
class TokenRefreshServiceOAuth2 {
 public:
  virtual ~TokenRefreshServiceOAuth2() = default;

  /// Completes on the main queue with new credentials, which expire the stated seconds from now. A failing status is a
  /// NetworkServiceError with the TokenRefreshErrorInfo of its body.
  virtual Task<OAuth2Credentials> refresh(const OAuth2Credentials& credentials) = 0;

  /// Completes on the main queue once the backend has accepted.
  virtual Task<void> revoke(const OAuth2Credentials& credentials) = 0;
};

class TokenRefreshServiceOAuth2Impl final : public TokenRefreshServiceOAuth2 {
 public:
  struct RefreshTokenBody {
    std::string refreshToken;
    std::string grantType;
    std::string clientID;
  };

  struct RevokeTokenBody {
    std::string clientID;
    std::string refreshToken;
  };

  /// `looseNetworkService` adds no access token, since that may have expired already.
  TokenRefreshServiceOAuth2Impl(std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                std::shared_ptr<NetworkService> looseNetworkService,
                                std::shared_ptr<Clock> clock = Clock::system());

  Task<OAuth2Credentials> refresh(const OAuth2Credentials& credentials) override;
  Task<void> revoke(const OAuth2Credentials& credentials) override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;

    URLRequest refresh(const OAuth2Credentials& credentials) const;
    URLRequest revoke(const OAuth2Credentials& credentials) const;
  };

  const std::shared_ptr<NetworkService> looseNetworkService_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

template <>
struct Coding<TokenRefreshServiceOAuth2Impl::RefreshTokenBody> {
  using Body = TokenRefreshServiceOAuth2Impl::RefreshTokenBody;
  static constexpr auto fields = std::tuple{field("refresh_token", &Body::refreshToken),
                                            field("grant_type", &Body::grantType), field("client_id", &Body::clientID)};
};

template <>
struct Coding<TokenRefreshServiceOAuth2Impl::RevokeTokenBody> {
  using Body = TokenRefreshServiceOAuth2Impl::RevokeTokenBody;
  static constexpr auto fields =
      std::tuple{field("client_id", &Body::clientID), field("refresh_token", &Body::refreshToken)};
};

}  // namespace lx
