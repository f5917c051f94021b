#include "LXServices/Services/NetworkServicesOAuth2/Core/OAuth2NetworkingBuilder.h"

#include "LXServices/Services/NetworkServicesOAuth2/Core/RequestRetrierImpl.h"
#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryPolicies.h"
#include "LXServices/Services/UnifiedSignin/AuthUtility.h"
#include "LXUtils/Concurrency/OperationQueue.h"
#include "LXUtils/Network/LooseRequestAuthorizer.h"

namespace lx {
namespace {

void attachRetrier(const std::shared_ptr<NetworkServiceImpl>& networkService,
                   const std::shared_ptr<OAuth2CredentialsService>& credentialsRefresher,
                   std::shared_ptr<const RetryPolicy> retryPolicy, const std::shared_ptr<Clock>& clock) {
  auto retrier = std::make_shared<RequestRetrierImpl>(std::move(retryPolicy), clock);
  retrier->setNetworkService(networkService);
  retrier->setCredentialsRefresher(credentialsRefresher);
  networkService->setRequestRetrier(std::move(retrier));
}

}  // namespace

OAuth2NetworkingBuilderImpl::OAuth2NetworkingBuilderImpl(
    std::shared_ptr<const AppService> appService, std::shared_ptr<const BackendEnvironment> backendEnvironment,
    std::optional<std::string> lexiconiaEnrollmentToken, std::shared_ptr<URLSession> urlSession,
    std::shared_ptr<AuthCredentialsStorage> authCredentialsStorage, const URL& tokenRefreshLockFileURL,
    OAuth2CredentialsServiceImpl::Waiting waiting, std::shared_ptr<Clock> clock) {
  const auto main = OperationQueue::main();

  headersProviderOAuth2_ =
      std::make_shared<HeadersProviderOAuth2Impl>(appService, backendEnvironment, std::move(lexiconiaEnrollmentToken));
  const auto looseAuthorizer = std::make_shared<LooseRequestAuthorizer>(headersProviderOAuth2_, Logger::oauth2);
  oauth2LooseNetworkService_ = NetworkServiceImpl::make(urlSession, looseAuthorizer, main, Logger::network, clock);
  tokenRefreshServiceOAuth2_ =
      std::make_shared<TokenRefreshServiceOAuth2Impl>(backendEnvironment, oauth2LooseNetworkService_, clock);
  const auto backgroundExecutor = std::make_shared<BackgroundExecutorExtension>();
  oauth2CredentialsService_ = OAuth2CredentialsServiceImpl::make(
      authCredentialsStorage, tokenRefreshServiceOAuth2_, tokenRefreshLockFileURL, backgroundExecutor, waiting, clock);
  requestSignerOAuth2_ = std::make_shared<URLRequestSignerOAuth2Impl>(headersProviderOAuth2_);
  oauth2RequestAuthorizer_ = OAuth2RequestAuthorizer::make(oauth2CredentialsService_, requestSignerOAuth2_);
  oauth2NetworkService_ = NetworkServiceImpl::make(urlSession, oauth2RequestAuthorizer_, main, Logger::network, clock);
  migrationServiceOAuth2_ = std::make_shared<MigrationServiceOAuth2Impl>(oauth2LooseNetworkService_, backendEnvironment,
                                                                         appService->clientVersion());
  const auto signInNetworkService = NetworkServiceImpl::make(urlSession, looseAuthorizer, main, Logger::network, clock);
  authenticationServiceOAuth2_ = std::make_shared<AuthenticationServiceOAuth2Impl>(
      signInNetworkService, oauth2LooseNetworkService_, backendEnvironment, clock);
  silentAuthorizationManager_ = std::make_shared<SilentAuthorizationManagerOAuth2Impl>(
      std::make_shared<AuthUtilityImpl>(), migrationServiceOAuth2_, authenticationServiceOAuth2_,
      authCredentialsStorage, clock);
  oauth2CredentialsService_->setSilentAuthorizationManager(silentAuthorizationManager_);

  const LooseRetryPolicy loosePolicy(std::make_shared<RetryProgressionManagerImpl>());
  attachRetrier(oauth2LooseNetworkService_, oauth2CredentialsService_, std::make_shared<LooseRetryPolicy>(loosePolicy),
                clock);
  const auto oauth2Policy =
      std::make_shared<OAuth2RetryPolicy>(loosePolicy, std::make_shared<RetryProgressionManagerImpl>());
  attachRetrier(oauth2NetworkService_, oauth2CredentialsService_, oauth2Policy, clock);
  attachRetrier(signInNetworkService, oauth2CredentialsService_,
                std::make_shared<AuthenticationServiceOAuth2RetryPolicy>(oauth2Policy), clock);
}

}  // namespace lx
