#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LXServices/Environment/BackendEnvironment.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthenticationServiceOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/MigrationToOAuth2/SilentAuthorizationManagerOAuth2.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/AppService.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2RequestAuthorizer.h"
#include "LXUtils/Network/NetworkServiceImpl.h"

namespace lx {

/// The authenticated networking of a process, built once and kept for its lifetime.
class OAuth2NetworkingBuilder {
 public:
  virtual ~OAuth2NetworkingBuilder() = default;

  /// Adds the standard headers, but no access token.
  virtual std::shared_ptr<NetworkService> oauth2LooseNetworkService() const = 0;

  /// Signs every request with the user's access token, and refreshes it when the backend refuses it.
  virtual std::shared_ptr<NetworkService> oauth2NetworkService() const = 0;

  virtual std::shared_ptr<OAuth2RequestAuthorizer> oauth2RequestAuthorizer() const = 0;
  virtual std::shared_ptr<OAuth2CredentialsService> oauth2CredentialsService() const = 0;
  virtual std::shared_ptr<SilentAuthorizationManagerOAuth2> silentAuthorizationManager() const = 0;
  virtual std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService() const = 0;
  virtual std::shared_ptr<AuthenticationServiceOAuth2> authenticationService() const = 0;
};

/// Builds the stack in a fixed order. All network services answer on the main queue. Letting go of the builder and of
/// what it handed out ends what is under way as cancelled.
class OAuth2NetworkingBuilderImpl final : public OAuth2NetworkingBuilder {
 public:
  /// `authCredentialsStorage` is shared by all processes of the app group, and so is the file of
  /// `tokenRefreshLockFileURL` in the group's container.
  OAuth2NetworkingBuilderImpl(std::shared_ptr<const AppService> appService,
                              std::shared_ptr<const BackendEnvironment> backendEnvironment,
                              std::optional<std::string> lexiconiaEnrollmentToken,
                              std::shared_ptr<URLSession> urlSession,
                              std::shared_ptr<AuthCredentialsStorage> authCredentialsStorage,
                              const URL& tokenRefreshLockFileURL, OAuth2CredentialsServiceImpl::Waiting waiting = {},
                              std::shared_ptr<Clock> clock = Clock::system());

  std::shared_ptr<NetworkService> oauth2LooseNetworkService() const override { return oauth2LooseNetworkService_; }
  std::shared_ptr<NetworkService> oauth2NetworkService() const override { return oauth2NetworkService_; }
  std::shared_ptr<OAuth2RequestAuthorizer> oauth2RequestAuthorizer() const override { return oauth2RequestAuthorizer_; }
  std::shared_ptr<OAuth2CredentialsService> oauth2CredentialsService() const override {
    return oauth2CredentialsService_;
  }
  std::shared_ptr<SilentAuthorizationManagerOAuth2> silentAuthorizationManager() const override {
    return silentAuthorizationManager_;
  }
  std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService() const override { return tokenRefreshServiceOAuth2_; }
  std::shared_ptr<AuthenticationServiceOAuth2> authenticationService() const override {
    return authenticationServiceOAuth2_;
  }

 private:
  std::shared_ptr<NetworkServiceImpl> oauth2LooseNetworkService_;
  std::shared_ptr<NetworkServiceImpl> oauth2NetworkService_;
  std::shared_ptr<OAuth2RequestAuthorizer> oauth2RequestAuthorizer_;
  std::shared_ptr<OAuth2CredentialsService> oauth2CredentialsService_;
  std::shared_ptr<SilentAuthorizationManagerOAuth2> silentAuthorizationManager_;
  std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshServiceOAuth2_;
  std::shared_ptr<AuthenticationServiceOAuth2> authenticationServiceOAuth2_;
  std::shared_ptr<HeadersProviderOAuth2Impl> headersProviderOAuth2_;
  std::shared_ptr<URLRequestSignerOAuth2> requestSignerOAuth2_;
  std::shared_ptr<MigrationServiceOAuth2> migrationServiceOAuth2_;
};

}  // namespace lx
