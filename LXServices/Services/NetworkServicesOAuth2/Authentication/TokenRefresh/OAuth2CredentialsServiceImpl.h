#pragma once

#include <chrono>
#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/OAuth2CredentialsService.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/TokenRefreshServiceOAuth2.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/System/BackgroundExecutor.h"

namespace lx {

/// Lets one refresh run at a time: in the process by a state machine, in the app group by a file lock and two
/// notifications.
///
/// Keep the service for the lifetime of the process. Destroying it releases the file lock and ends the background task,
/// but loses the answer of a refresh that is under way, though the backend may have exchanged the refresh token.
class OAuth2CredentialsServiceImpl : public OAuth2CredentialsService {
 public:
  /// How a process waits for another's refresh.
  struct Waiting {
    std::chrono::milliseconds pollInterval{250};  ///< between two attempts to take the lock
    std::chrono::milliseconds bound{60'000};      ///< after which the callers of this process fail
  };

  /// `lockFileURL` is a file in the app group's container, the same for every process of the group; the group's
  /// notifications are kept in a folder beside it. If the lock file cannot be opened, or the URL names no local file
  /// (see `filePath`), that is logged, and refreshes are not serialised across processes.
  static std::shared_ptr<OAuth2CredentialsServiceImpl> make(
      std::shared_ptr<AuthCredentialsStorage> credStorage,
      std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService, const URL& lockFileURL,
      std::shared_ptr<BackgroundExecutor> backgroundExecutor, Waiting waiting,
      std::shared_ptr<Clock> clock = Clock::system());

  static std::shared_ptr<OAuth2CredentialsServiceImpl> make(
      std::shared_ptr<AuthCredentialsStorage> credStorage,
      std::shared_ptr<TokenRefreshServiceOAuth2> tokenRefreshService, const URL& lockFileURL,
      std::shared_ptr<BackgroundExecutor> backgroundExecutor) {
    return make(std::move(credStorage), std::move(tokenRefreshService), lockFileURL, std::move(backgroundExecutor),
                Waiting{});
  }

 protected:
  OAuth2CredentialsServiceImpl() = default;
};

}  // namespace lx
