#pragma once

#include <memory>
#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/System/DarwinNotificationCenter.h"
#include "LXUtils/System/FileLock.h"

// What the credentials service concludes from the store, the lock file and an error.

namespace lx {

/// What the processes of a group share for their refreshes: the lock file and, in a folder beside it, notifications.
struct RefreshFiles {
  Result<std::unique_ptr<FileLock>> lock;
  std::shared_ptr<DarwinNotificationCenter> notificationCenter;
};
RefreshFiles openRefreshFiles(const URL& lockFileURL);

/// True when another process, or another service of this one, holds the lock.
bool isHeldByAnother(const Error& lockError);

bool holdsSameTokens(const Result<std::optional<OAuth2Credentials>>& stored, const OAuth2Credentials& credentials);

/// Notes in the lock file which credentials have been exchanged for new ones. A note that cannot be written is only
/// missed: another process may send a refresh that the server refuses, and then looks into the store.
Result<void> recordExchange(FileLock& lock, const OAuth2Credentials& credentials);

/// True when one of the latest notes is of these credentials.
bool wereExchanged(const FileLock& lock, const OAuth2Credentials& credentials);

/// True for a server error with status 401 whose TokenRefreshErrorInfo says that the refresh token is invalid.
bool isInvalidRefreshToken(const Error& error);

/// The cookie-era credentials of a signed-in user who is not anonymous; none without such a user.
Result<std::optional<UserAuthData>> loadFallback(AuthCredentialsStorage& storage);

}  // namespace lx
