#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshServiceOAuth2.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsResponse.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenEndpoint.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

URLRequest TokenRefreshServiceOAuth2Impl::RequestFactory::refresh(const OAuth2Credentials& credentials) const {
  return makeTokenRequest(*backendEnvironment, RefreshTokenBody{.refreshToken = credentials.refreshToken,
                                                                .grantType = "refresh_token",
                                                                .clientID = backendEnvironment->clientType()});
}

URLRequest TokenRefreshServiceOAuth2Impl::RequestFactory::revoke(const OAuth2Credentials& credentials) const {
  return makeJSONRequest(
      backendEnvironment->authServiceURL().appendingPath("/v4/api/revoke-by-refresh-token"),
      RevokeTokenBody{.clientID = backendEnvironment->clientType(), .refreshToken = credentials.refreshToken});
}

TokenRefreshServiceOAuth2Impl::TokenRefreshServiceOAuth2Impl(
    std::shared_ptr<const BackendEnvironment> backendEnvironment, std::shared_ptr<NetworkService> looseNetworkService,
    std::shared_ptr<Clock> clock)
    : looseNetworkService_(std::move(looseNetworkService)),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<OAuth2Credentials> TokenRefreshServiceOAuth2Impl::refresh(const OAuth2Credentials& credentials) {
  return looseNetworkService_->authorizeAndLoad(requestFactory_.refresh(credentials))
      .decode(analyzeNetworkResponse(errorInfoDecoder<TokenRefreshErrorInfo>()))
      .decode(&decodeData)
      .decode(&decodeJSONBody<OAuth2CredentialsResponse>)
      .map([clock = clock_](const auto& response) { return OAuth2Credentials::make(response, clock->now()); },
           OperationQueue::main());
}

Task<void> TokenRefreshServiceOAuth2Impl::revoke(const OAuth2Credentials& credentials) {
  return looseNetworkService_->authorizeAndLoad(requestFactory_.revoke(credentials))
      .decode(analyzeNetworkResponse())
      .map([](const NetworkResponse&) {}, OperationQueue::main());
}

}  // namespace lx
