#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Network/NetworkService.h"

namespace lx {

struct OAuthCodeGenerateResponse {
  URL redirectURL;

  /// The redirect's one-time code.
  std::optional<std::string> code() const;

  bool operator==(const OAuthCodeGenerateResponse&) const = default;
};

/// The signed-in user's web cookies, as the exchange of a code sets them.
struct OAuthCodeExchangeResponse {
  std::string lxauth;
  std::string csrf;
  std::optional<std::string> trustedDeviceID;

  /// Fails as NetworkServiceError::MissingCookies, which lists both required names, when one of them is not set.
  static Result<OAuthCodeExchangeResponse> make(const NetworkResponse& response, Date now = Clock::system()->now());

  bool operator==(const OAuthCodeExchangeResponse&) const = default;
};

/// The backend's codes for carrying a sign-in over to the web. Any thread; tasks complete as the network service's do.
class OAuthService {
 public:
  virtual ~OAuthService() = default;

  /// A code that is good for the verifier behind the challenge alone.
  virtual Task<OAuthCodeGenerateResponse> generateCode(const std::string& codeChallenge,
                                                       const std::string& clientID) = 0;

  virtual Task<OAuthCodeExchangeResponse> exchangeCode(const std::string& code, const std::string& codeVerifier,
                                                       const std::string& clientID) = 0;
};

class OAuthServiceImpl final : public OAuthService {
 public:
  struct GenerateCodeRequest {
    std::string codeChallenge;
    std::string cliendID;
  };

  struct ExchangeCodeRequest {
    std::string code;
    std::string codeVerifier;
    std::string cliendID;
  };

  OAuthServiceImpl(std::shared_ptr<NetworkService> networkService,
                   std::shared_ptr<const BackendEnvironment> backendEnvironment,
                   std::shared_ptr<Clock> clock = Clock::system());

  Task<OAuthCodeGenerateResponse> generateCode(const std::string& codeChallenge, const std::string& clientID) override;
  Task<OAuthCodeExchangeResponse> exchangeCode(const std::string& code, const std::string& codeVerifier,
                                               const std::string& clientID) override;

 private:
  struct RequestFactory {
    std::shared_ptr<const BackendEnvironment> backendEnvironment;

    template <class Body>
    URLRequest make(std::string_view path, const Body& body) const;
  };

  const std::shared_ptr<NetworkService> networkService_;
  const RequestFactory requestFactory_;
  const std::shared_ptr<Clock> clock_;
};

template <>
struct Coding<OAuthCodeGenerateResponse> {
  static constexpr auto fields = std::tuple{field("redirect_uri", &OAuthCodeGenerateResponse::redirectURL)};
};

template <>
struct Coding<OAuthServiceImpl::GenerateCodeRequest> {
  using Body = OAuthServiceImpl::GenerateCodeRequest;
  static constexpr auto fields =
      std::tuple{field("code_challenge", &Body::codeChallenge), field("client_id", &Body::cliendID)};
};

template <>
struct Coding<OAuthServiceImpl::ExchangeCodeRequest> {
  using Body = OAuthServiceImpl::ExchangeCodeRequest;
  static constexpr auto fields = std::tuple{field("code", &Body::code), field("code_verifier", &Body::codeVerifier),
                                            field("client_id", &Body::cliendID)};
};

}  // namespace lx
