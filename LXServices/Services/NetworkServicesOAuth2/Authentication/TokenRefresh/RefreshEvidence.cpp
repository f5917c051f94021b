#include <filesystem>
#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshEvidenceInternal.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefreshErrorInfo.h"
#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Digest.h"
#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Network/NetworkServiceError.h"

namespace lx {
namespace {

// A token holds no NUL, so that the parts cannot be mistaken for one another.
std::string digest(const OAuth2Credentials& credentials) {
  std::string text = credentials.accessToken;
  text.append(1, '\0').append(credentials.refreshToken);
  text.append(1, '\0').append(std::to_string(credentials.expirationDate.time_since_epoch().count()));
  return urlSafeBase64EncodedString(sha256(dataOf(text)));
}

// A process that was suspended for a while may come with credentials of some refreshes ago.
constexpr std::size_t rememberedExchanges = 5;

}  // namespace

RefreshFiles openRefreshFiles(const URL& lockFileURL) {
  const std::filesystem::path path = percentDecode(lockFileURL.path()).value_or(std::string(lockFileURL.path()));
  const bool isFile = lockFileURL.scheme() == "file" && !path.native().contains('\0');
  return {isFile ? FileLock::make(path) : fail(FileLockError{FileLockError::Kind::notOpened}),
          DarwinNotificationCenter::forFolder(path.parent_path() / "notifications")};
}

bool isHeldByAnother(const Error& lockError) {
  const auto* error = lockError.as<FileLockError>();
  return error && error->kind == FileLockError::Kind::alreadyLocked;
}

bool holdsSameTokens(const Result<std::optional<OAuth2Credentials>>& stored, const OAuth2Credentials& credentials) {
  return stored && *stored && haveSameTokens(**stored, credentials);
}

Result<void> recordExchange(FileLock& lock, const OAuth2Credentials& credentials) {
  std::string notes = digest(credentials) + "\n";
  const auto earlier = lock.contents();
  if (earlier) notes.append(*earlier, 0, (rememberedExchanges - 1) * notes.size());
  return lock.setContents(notes);
}

bool wereExchanged(const FileLock& lock, const OAuth2Credentials& credentials) {
  const auto notes = lock.contents();
  return notes && notes->find(digest(credentials)) != std::string::npos;
}

bool isInvalidRefreshToken(const Error& error) {
  const auto* failure = error.as<NetworkServiceError>();
  const auto* serverError = failure ? failure->serverError() : nullptr;
  if (!serverError || !serverError->response.isUnauthorized()) return false;
  const auto* info = dynamic_cast<const TokenRefreshErrorInfo*>(serverError->info.get());
  return info && info->isInvalidRefreshToken();
}

Result<std::optional<UserAuthData>> loadFallback(AuthCredentialsStorage& storage) {
  const auto user = storage.currentUser();
  if (!user) return fail(user.error());
  if (!*user || (*user)->isAnonymous) return std::nullopt;
  return storage.loadLegacyAuthData();
}

}  // namespace lx
