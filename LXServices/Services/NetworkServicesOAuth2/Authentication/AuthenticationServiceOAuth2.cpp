#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationServiceOAuth2.h"

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationErrorInfo.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenEndpoint.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

URLRequest AuthenticationServiceOAuth2Impl::RequestFactory::exchangeCode(const ExchangeCodeRequest& body) const {
  return makeTokenRequest(*backendEnvironment, body);
}

URLRequest AuthenticationServiceOAuth2Impl::RequestFactory::nativeSignIn(const EncodableBody& body) const {
  return makeJSONRequest(backendEnvironment->authServiceURL().appendingPath("/v4/api/native-sign-in"), body);
}

AuthenticationServiceOAuth2Impl::AuthenticationServiceOAuth2Impl(
    std::shared_ptr<NetworkService> networkService, std::shared_ptr<NetworkService> looseNetworkService,
    std::shared_ptr<const BackendEnvironment> backendEnvironment, std::shared_ptr<Clock> clock)
    : networkService_(std::move(networkService)),
      looseNetworkService_(std::move(looseNetworkService)),
      backendEnvironment_(backendEnvironment),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<OAuth2AuthDTO> AuthenticationServiceOAuth2Impl::unifiedSignonExchangeCode(
    const std::string& code, const std::string& codeVerifier, const std::optional<std::string>& trustedDeviceID) {
  const auto request = requestFactory_.exchangeCode({.code = code,
                                                     .codeVerifier = codeVerifier,
                                                     .clientID = backendEnvironment_->clientType(),
                                                     .grantType = "authorization_code",
                                                     .trustedDeviceID = trustedDeviceID});
  return looseNetworkService_->authorizeAndLoadJSON<OAuth2CredentialsResponse>(request).map(
      [clock = clock_](const auto& response) { return OAuth2AuthDTO::make(response, clock->now()); },
      OperationQueue::main());
}

Task<std::pair<OAuth2AuthDTO, OAuth2NativeSignonAction>>
AuthenticationServiceOAuth2Impl::socialSignonExchangeSocialToken(
    const OAuth2SocialSignonCodeExchangeRequestBodyProvider& provider, const OAuth2SocialSignonPayload& payload) {
  return networkService_->authorizeAndLoad(requestFactory_.nativeSignIn(provider.requestBody(payload)))
      .decode(analyzeNetworkResponse(errorInfoDecoder<AuthenticationErrorInfo>()))
      .decode(&decodeData)
      .decode(&decodeJSONBody<OAuth2CredentialsNativeSignonResponse>)
      .map(
          [clock = clock_](const auto& response) {
            return std::pair(OAuth2AuthDTO::make(response, clock->now()), response.action);
          },
          OperationQueue::main());
}

}  // namespace lx
