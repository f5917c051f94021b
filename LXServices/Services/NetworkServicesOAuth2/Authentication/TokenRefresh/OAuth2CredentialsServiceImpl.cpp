#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshStateMachineInternal.h"

namespace lx {

std::shared_ptr<OAuth2CredentialsServiceImpl> OAuth2CredentialsServiceImpl::make(
    std::shared_ptr<AuthCredentialsStorage> credStorage, std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
    const URL& lockFileURL, std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
    std::shared_ptr<Clock> clock) {
  auto notificationsManager = std::make_shared<TokenRefreshNotificationsManagerImpl>(
      DarwinNotificationCenter::forFolder(notificationsFolder(lockFileURL)));
  auto lock = RefreshLock::make(lockFileURL);
  if (!lock) {
    Logger::oauth2.log(4, "File lock initialization failed", lock.error().description(),
                       "init(credStorage:tokenRefreshService:lockFileURL:backgroundExecutor:)");
  }
  return std::make_shared<RefreshStateMachine>(std::move(credStorage), std::move(tokenRefreshService),
                                               std::move(notificationsManager), lock ? *std::move(lock) : nullptr,
                                               std::move(backgroundExecutor), waiting, std::move(clock));
}

}  // namespace lx
