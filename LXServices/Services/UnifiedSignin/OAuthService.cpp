#include "LXServices/Services/UnifiedSignin/OAuthService.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Core/JSONRequest.h"
#include "LXUtils/Foundation/URLQueryParameters.h"

namespace lx {

std::optional<std::string> OAuthCodeGenerateResponse::code() const {
  return URLQueryParameters(redirectURL).first("code");
}

Result<OAuthCodeExchangeResponse> OAuthCodeExchangeResponse::make(const NetworkResponse& response, Date now) {
  auto lxauth = response.cookieValue(HTTPCookieName::authToken, now);
  auto csrf = response.cookieValue(HTTPCookieName::csrfToken, now);
  if (!lxauth || !csrf) {
    return fail(NetworkServiceError{
        NetworkServiceError::MissingCookies{{HTTPCookieName::authToken, HTTPCookieName::csrfToken}}});
  }
  return OAuthCodeExchangeResponse{*std::move(lxauth), *std::move(csrf),
                                   response.cookieValue(HTTPCookieName::trustedDeviceID, now)};
}

template <class Body>
URLRequest OAuthServiceImpl::RequestFactory::make(std::string_view path, const Body& body) const {
  auto request = makeJSONRequest(backendEnvironment->authServiceURL().appendingPath(path), body);
  request.headers.set(HTTPHeaderName::referer, backendEnvironment->origin() + "/signin/oauth");
  return request;
}

OAuthServiceImpl::OAuthServiceImpl(std::shared_ptr<NetworkService> networkService,
                                   std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                   std::shared_ptr<Clock> clock)
    : networkService_(std::move(networkService)),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<OAuthCodeGenerateResponse> OAuthServiceImpl::generateCode(const std::string& codeChallenge,
                                                               const std::string& clientID) {
  return networkService_->authorizeAndLoadJSON<OAuthCodeGenerateResponse>(requestFactory_.make(
      "v3/api/unified-login/code/generate", GenerateCodeRequest{.codeChallenge = codeChallenge, .cliendID = clientID}));
}

Task<OAuthCodeExchangeResponse> OAuthServiceImpl::exchangeCode(const std::string& code, const std::string& codeVerifier,
                                                               const std::string& clientID) {
  return networkService_
      ->authorizeAndLoad(
          requestFactory_.make("v3/api/unified-login/code/exchange",
                               ExchangeCodeRequest{.code = code, .codeVerifier = codeVerifier, .cliendID = clientID}))
      .decode(analyzeNetworkResponse())
      .decode(
          [clock = clock_](const auto& response) { return OAuthCodeExchangeResponse::make(response, clock->now()); });
}

}  // namespace lx
