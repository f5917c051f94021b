#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AnonymousServiceOAuth2.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsResponse.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenEndpoint.h"
#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

URLRequest AnonymousServiceOAuth2Impl::RequestFactory::authenticateAnonymous() const {
  return makeTokenRequest(*backendEnvironment,
                          AnonymousTokenRequestBody{.clientID = backendEnvironment->clientType(),
                                                    .grantType = "urn:ietf:params:oauth:grant-type:client_id"});
}

AnonymousServiceOAuth2Impl::AnonymousServiceOAuth2Impl(std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                                       std::shared_ptr<NetworkService> looseNetworkService,
                                                       std::shared_ptr<Clock> clock)
    : looseNetworkService_(std::move(looseNetworkService)),
      requestFactory_{std::move(backendEnvironment)},
      clock_(std::move(clock)) {}

Task<OAuth2Credentials> AnonymousServiceOAuth2Impl::authenticateAnonymous() {
  return looseNetworkService_->authorizeAndLoadJSON<OAuth2CredentialsResponse>(requestFactory_.authenticateAnonymous())
      .map([clock = clock_](const auto& response) { return OAuth2Credentials::make(response, clock->now()); },
           OperationQueue::main());
}

}  // namespace lx
