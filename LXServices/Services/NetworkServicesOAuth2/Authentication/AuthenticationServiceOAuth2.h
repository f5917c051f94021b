#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/SocialSignon.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

/// Turns a sign-in that happened elsewhere into OAuth2 credentials. Nothing is stored. Any thread; tasks complete on
/// the main queue.
class AuthenticationServiceOAuth2 {
 public:
  virtual ~AuthenticationServiceOAuth2() = default;

  /// Ends a browser sign-in: exchanges the authorization code and its PKCE verifier (RFC 7636, section 4.5).
  virtual Task<OAuth2AuthDTO> unifiedSignonExchangeCode(const std::string& code, const std::string& codeVerifier,
                                                        const std::optional<std::string>& trustedDeviceID) = 0;

  /// Signs in with what Google's or Apple's own sign-in returned; the provider makes the body out of the payload. Tells
  /// whether an account was made. A failing status carries the AuthenticationErrorInfo of its body.
  virtual Task<std::pair<OAuth2AuthDTO, OAuth2NativeSignonAction>> socialSignonExchangeSocialToken(
      const OAuth2SocialSignonCodeExchangeRequestBodyProvider& provider, const OAuth2SocialSignonPayload& payload) = 0;
};

class AuthenticationServiceOAuth2Impl final : public AuthenticationServiceOAuth2 {
 public:
  using SocialRequestPayload = lx::SocialRequestPayload;
  using SignonContextGoogle = lx::SignonContextGoogle;
  using SignonContextApple = lx::SignonContextApple;

  struct ExchangeCodeRequest {
    std::string code;
    std::string codeVerifier;
    std::string clientID;
    std::string grantType;
    std::optional<std::string> trustedDeviceID;

    bool operator==(const ExchangeCodeRequest&) const = default;
  };

  AuthenticationServiceOAuth2Impl(std::shared_ptr<NetworkService> networkService,
                                  std::shared_ptr<NetworkService> looseNetworkService,
                                  std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                  std::shared_ptr<Clock> clock = Clock::system());

  Task<OAuth2AuthDTO> unifiedSignonExchangeCode(const std::string& code, const std::string& codeVerifier,
                                                const std::optional<std::string>& trustedDeviceID) override;
  Task<std::pair<OAuth2AuthDTO, OAuth2NativeSignonAction>> socialSignonExchangeSocialToken(
      const OAuth2SocialSignonCodeExchangeRequestBodyProvider& provider,
      const OAuth2SocialSignonPayload& payload) override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;

    URLRequest exchangeCode(const ExchangeCodeRequest& body) const;
    URLRequest nativeSignIn(const EncodableBody& body) const;
  };

  const std::shared_ptr<NetworkService> networkService_;
  const std::shared_ptr<NetworkService> looseNetworkService_;
  const std::shared_ptr<const BackendEnvironment> backendEnvironment_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

template <>
struct Coding<AuthenticationServiceOAuth2Impl::ExchangeCodeRequest> {
  using Body = AuthenticationServiceOAuth2Impl::ExchangeCodeRequest;
  static constexpr auto fields =
      std::tuple{field("authorization_code", &Body::code), field("code_verifier", &Body::codeVerifier),
                 field("client_id", &Body::clientID), field("grant_type", &Body::grantType),
                 field("device_id", &Body::trustedDeviceID)};
};

}  // namespace lx
