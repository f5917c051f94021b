#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx {

/// A credentials store in memory that fails when it is told to, and remembers what was stored. Any thread.
class InMemoryCredentialsStorage final : public AuthCredentialsStorage {
 public:
  explicit InMemoryCredentialsStorage(std::optional<OAuth2Credentials> credentials = std::nullopt);

  Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) override;
  Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() override;
  Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& authData) override;
  Result<std::optional<UserAuthData>> loadLegacyAuthData() override;
  Result<void> storeDeviceAuthData(const DeviceAuthData& deviceAuthData) override;
  Result<DeviceAuthData> loadDeviceAuthData() override;
  Result<void> storeUser(const std::optional<UserModel>& user);
  Result<std::optional<UserModel>> currentUser() override;

  /// Nothing also while loads fail.
  std::optional<std::string> trustedDeviceID() const override;

  /// Until told otherwise (by nothing), every load, or every store, fails with `error` and changes nothing.
  void failLoads(std::optional<Error> error);
  void failStores(std::optional<Error> error);

  /// What the operation `storeOAuth2Credentials` stored so far, in order. Failures are not among them.
  std::vector<std::optional<OAuth2Credentials>> storedCredentials() const;

  /// Puts credentials there as another process would: `storedCredentials` does not show them, and no failure stops it.
  void replaceCredentials(std::optional<OAuth2Credentials> credentials);

 private:
  struct State {
    std::optional<OAuth2Credentials> credentials;
    std::optional<UserAuthData> legacy;
    DeviceAuthData device;
    std::optional<UserModel> user;
    std::optional<Error> loadFailure;
    std::optional<Error> storeFailure;
    std::vector<std::optional<OAuth2Credentials>> stored;
  };

  template <class T>
  Result<T> load(T State::* member) const;
  template <class T>
  Result<void> store(T State::* member, const T& value);

  Protected<State> state_;
};

}  // namespace lx
