#pragma once

#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/MigrationServiceOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TDICredentialsProvider.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Logging/Logger.h"

namespace lx {

class AuthUtility;
class AuthenticationServiceOAuth2;

/// Obtains OAuth2 credentials without the user, from what the cookie era left.
class SilentAuthorizationManagerOAuth2 {
 public:
  virtual ~SilentAuthorizationManagerOAuth2() = default;

  /// Completes on the main queue; nothing is stored. Errors are those of the network.
  virtual Task<OAuth2AuthDTO> exchange(const UserAuthData& lxauth) = 0;
};

class SilentAuthorizationManagerOAuth2Impl final : public SilentAuthorizationManagerOAuth2 {
 public:
  SilentAuthorizationManagerOAuth2Impl(std::shared_ptr<AuthUtility> authUtility,
                                       std::shared_ptr<MigrationServiceOAuth2> migrationService,
                                       std::shared_ptr<AuthenticationServiceOAuth2> authenticationService,
                                       std::shared_ptr<TDICredentialsProvider> credentialsStorage,
                                       std::shared_ptr<Clock> clock = Clock::system());

  Task<OAuth2AuthDTO> exchange(const UserAuthData& lxauth) override;

 private:
  const std::shared_ptr<AuthUtility> authUtility_;
  const std::shared_ptr<MigrationServiceOAuth2> migrationServiceOAuth2_;
  const std::shared_ptr<AuthenticationServiceOAuth2> authenticationServiceOAuth2_;
  const std::shared_ptr<TDICredentialsProvider> credentialsStorage_;
  const Logger logger_ = Logger::oauth2;
  const std::shared_ptr<Clock> clock_;
};

}  // namespace lx
