#pragma once

#include <memory>
#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXUtils/System/FileLock.h"

namespace lx {

/// The lock under which the processes of a group refresh, and the notes that its holders leave in the lock file:
/// whether the holder is refreshing, and digests of the credentials exchanged last. Any thread.
class RefreshLock {
 public:
  /// Opens the lock file, and creates it if it is missing. Error: FileLockError notOpened.
  static Result<std::unique_ptr<RefreshLock>> make(const std::string& path);

  explicit RefreshLock(std::unique_ptr<FileLock> file);

  /// Takes the lock and notes that its holder is refreshing. Errors: those of `FileLock::try_`. A note that cannot be
  /// written is skipped: then a failure notification can end the wait of another process early.
  Result<void> take();

  /// Removes the note that the holder is refreshing, then unlocks. Errors: those of `FileLock::unlock`.
  Result<void> release();

  /// True if `error` of `take` says that the lock is held by another process or another service of this one.
  static bool isHeldByAnother(const Error& error);

  /// True if the lock is held by another, and its holder noted that it is refreshing.
  bool isAnotherRefreshing();

  /// Notes that `credentials` were exchanged for new ones; only the holder may. Errors: those of
  /// `FileLock::setContents`. Without the note, another process may send a refresh that the server refuses; it looks
  /// at the store then.
  Result<void> noteExchange(const OAuth2Credentials& credentials);

  /// True if one of the latest five exchanges noted was of `credentials`: all three fields are compared, by digest.
  bool wereExchanged(const OAuth2Credentials& credentials) const;

 private:
  const std::unique_ptr<FileLock> file_;
};

}  // namespace lx
