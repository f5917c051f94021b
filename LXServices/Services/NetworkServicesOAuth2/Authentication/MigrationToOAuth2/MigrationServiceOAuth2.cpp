#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/MigrationServiceOAuth2.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenEndpoint.h"

namespace lx {

URLRequest MigrationServiceOAuth2Impl::RequestFactory::migrate(const std::string& lxauthToken,
                                                               const std::optional<std::string>& tdi) const {
  return makeTokenRequest(*backendEnvironment,
                          MigrationRequestBody{.grantType = "urn:ietf:params:oauth:grant-type:token-exchange",
                                               .subjectTokenType = "urn:lexiconia:params:oauth:token-type:lxauth",
                                               .subjectToken = lxauthToken,
                                               .clientID = backendEnvironment->clientType(),
                                               .scopes = "lexiconia.corva.all",
                                               .deviceID = tdi});
}

MigrationServiceOAuth2Impl::MigrationServiceOAuth2Impl(std::shared_ptr<NetworkService> looseNetworkService,
                                                       std::shared_ptr<const BackendEnvironment> backendEnvironment,
                                                       std::string clientVersion)
    : looseNetworkService_(std::move(looseNetworkService)),
      clientVersion_(std::move(clientVersion)),
      requestFactory_{std::move(backendEnvironment)} {}

Task<OAuth2CredentialsResponse> MigrationServiceOAuth2Impl::migrate(const std::string& lxauthToken,
                                                                    const std::optional<std::string>& tdi) {
  return looseNetworkService_->authorizeAndLoadJSON<OAuth2CredentialsResponse>(
      requestFactory_.migrate(lxauthToken, tdi));
}

}  // namespace lx
