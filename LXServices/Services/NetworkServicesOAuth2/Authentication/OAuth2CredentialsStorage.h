#pragma once

#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/DeviceAuthData.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/UserAuthData.h"
#include "LXServices/Services/UserModel.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

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
};

/// A role of the app's credentials store.
class UserProvider {
 public:
  virtual ~UserProvider() = default;

  /// The user whose credentials are stored, if any. Any thread.
  virtual Result<std::optional<UserModel>> currentUser() = 0;
};

}  // namespace lx
