#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/SilentAuthorizationManagerOAuth2.h"

#include <utility>

#include "LXUtils/Concurrency/OperationQueue.h"

namespace lx {

SilentAuthorizationManagerOAuth2Impl::SilentAuthorizationManagerOAuth2Impl(
    std::shared_ptr<AuthUtility> authUtility, std::shared_ptr<MigrationServiceOAuth2> migrationService,
    std::shared_ptr<AuthenticationServiceOAuth2> authenticationService,
    std::shared_ptr<TDICredentialsProvider> credentialsStorage, std::shared_ptr<Clock> clock)
    : authUtility_(std::move(authUtility)),
      migrationServiceOAuth2_(std::move(migrationService)),
      authenticationServiceOAuth2_(std::move(authenticationService)),
      credentialsStorage_(std::move(credentialsStorage)),
      clock_(std::move(clock)) {}

Task<OAuth2AuthDTO> SilentAuthorizationManagerOAuth2Impl::exchange(const UserAuthData& lxauth) {
  logger_.log(2, "START lxauth credentials exchange.", "exchange(lxauth:)");
  return migrationServiceOAuth2_->migrate(lxauth.authToken, credentialsStorage_->trustedDeviceID())
      .map([clock = clock_](const auto& response) { return OAuth2AuthDTO::make(response, clock->now()); },
           OperationQueue::main());
}

}  // namespace lx
