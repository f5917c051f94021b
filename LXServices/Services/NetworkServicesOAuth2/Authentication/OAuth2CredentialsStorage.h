#pragma once

#include <memory>
#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/DeviceAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXServices/Services/UserModel.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// What became of credentials that were to replace others in the store.
enum class ReplaceOutcome {
  stored,           ///< the store holds them now
  storeHasMovedOn,  ///< the store no longer held the credentials to replace, and was left unchanged
};

/// Storage that is reserved for the credentials that a refresh will obtain. Destroying it frees what is reserved.
class CredentialsReplacement {
 public:
  virtual ~CredentialsReplacement() = default;

  /// Stores `credentials` if the store still holds the credentials that this object was prepared to replace; both
  /// tokens are compared. Call it once. After an error the store is unchanged, and `credentials` may be recovered by
  /// the next `prepareReplacement`.
  virtual Result<ReplaceOutcome> store(const OAuth2Credentials& credentials) = 0;
};

/// What `OAuth2CredentialsStorage::prepareReplacement` returns: one of its members is set.
struct PreparedReplacement {
  std::unique_ptr<CredentialsReplacement> replacement;

  /// Credentials that a process obtained for the ones to replace and could not store before it ended. The store holds
  /// them now.
  std::optional<OAuth2Credentials> recovered;
};

/// A role of the app's credentials store, which all processes of the app group share. Any thread.
///
/// Storing nothing removes what is there. What is absent loads as nothing; what is there and cannot be read is an
/// error, and never taken for absent, since that would sign the user out.
class OAuth2CredentialsStorage {
 public:
  virtual ~OAuth2CredentialsStorage() = default;

  virtual Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) = 0;
  virtual Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() = 0;

  /// The tokens of the cookie-era sign-in.
  virtual Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& authData) = 0;
  virtual Result<std::optional<UserAuthData>> loadLegacyAuthData() = 0;

  virtual Result<void> storeDeviceAuthData(const DeviceAuthData& deviceAuthData) = 0;

  /// DeviceAuthData::empty when none was stored.
  virtual Result<DeviceAuthData> loadDeviceAuthData() = 0;

  /// Stores `credentials` if the store holds `replaced`; both tokens are compared. Errors: those of loading and
  /// storing.
  ///
  /// The default compares and stores in two steps. A store that several processes change overrides it with one step
  /// that excludes all other changes, since otherwise a late refresh can overwrite a newer sign-in or undo a sign-out.
  virtual Result<ReplaceOutcome> replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                          const OAuth2Credentials& credentials);

  /// Called before `replaced` is exchanged at the backend, by the one process of the group that may exchange it.
  /// Reserves what storing the outcome needs, so that a store that cannot be written is an error while the refresh
  /// token is still unspent.
  ///
  /// The default reserves nothing and stores by `replaceOAuth2Credentials`. The object that it returns must not
  /// outlive the store.
  virtual Result<PreparedReplacement> prepareReplacement(const OAuth2Credentials& replaced);
};

/// A role of the app's credentials store.
class UserProvider {
 public:
  virtual ~UserProvider() = default;

  /// The user whose credentials are stored, if any. Any thread.
  virtual Result<std::optional<UserModel>> currentUser() = 0;
};

}  // namespace lx
