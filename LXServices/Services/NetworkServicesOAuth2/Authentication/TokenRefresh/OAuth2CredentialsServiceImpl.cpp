#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsServiceImpl.h"

#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshStateMachineInternal.h"
#include "LXUtils/Foundation/FileURL.h"

namespace lx {
namespace {

// Of a process that shares no folder with the others.
class NoNotifications final : public TokenRefreshNotificationsManager {
  void subscribe(std::uint64_t /*subscriber*/, std::function<void(Result<void>)> /*handler*/) override {}
  void removeObservers(std::uint64_t /*subscriber*/) override {}
  void postSuccess() override {}
  void postFailure() override {}
};

std::shared_ptr<TokenRefreshNotificationsManager> makeNotificationsManager(
    const Result<std::filesystem::path>& lockFile) {
  if (!lockFile) return std::make_shared<NoNotifications>();
  return std::make_shared<TokenRefreshNotificationsManagerImpl>(
      DarwinNotificationCenter::forFolder(lockFile->parent_path() / "notifications"));
}

Result<std::unique_ptr<RefreshLock>> openLock(const Result<std::filesystem::path>& lockFile) {
  if (!lockFile) return fail(FileLockError{FileLockError::Kind::notOpened});
  return RefreshLock::make(*lockFile);
}

}  // namespace

std::shared_ptr<OAuth2CredentialsServiceImpl> OAuth2CredentialsServiceImpl::make(
    std::shared_ptr<AuthCredentialsStorage> credStorage, std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService,
    const URL& lockFileURL, std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
    std::shared_ptr<Clock> clock) {
  const auto lockFile = filePath(lockFileURL);
  auto notificationsManager = makeNotificationsManager(lockFile);
  auto lock = openLock(lockFile);
  if (!lock) {
    Logger::oauth2.log(4, "File lock initialization failed", lock.error().description(),
                       "init(credStorage:tokenRefreshService:lockFileURL:backgroundExecutor:)");
  }
  return std::make_shared<RefreshStateMachine>(std::move(credStorage), std::move(tokenRefreshService),
                                               std::move(notificationsManager), lock ? *std::move(lock) : nullptr,
                                               std::move(backgroundExecutor), waiting, std::move(clock));
}

}  // namespace lx
