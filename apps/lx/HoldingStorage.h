#pragma once

#include <memory>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"

namespace lx::tool {

/// The group's store for the library's stack: holds signals from before a refresh token is spent until its successor is
/// stored.
class HoldingStorage final : public AuthCredentialsStorage {
 public:
  explicit HoldingStorage(std::shared_ptr<FileCredentialsStorage> storage) : storage_(std::move(storage)) {}

  Result<PreparedReplacement> prepareReplacement(const OAuth2Credentials& replaced) override;

  Result<ReplaceOutcome> replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                  const OAuth2Credentials& credentials) override {
    return storage_->replaceOAuth2Credentials(replaced, credentials);
  }
  Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) override {
    return storage_->storeOAuth2Credentials(credentials);
  }
  Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() override {
    return storage_->loadOAuth2Credentials();
  }
  Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& authData) override {
    return storage_->storeLegacyAuthData(authData);
  }
  Result<std::optional<UserAuthData>> loadLegacyAuthData() override { return storage_->loadLegacyAuthData(); }
  Result<void> storeDeviceAuthData(const DeviceAuthData& deviceAuthData) override {
    return storage_->storeDeviceAuthData(deviceAuthData);
  }
  Result<DeviceAuthData> loadDeviceAuthData() override { return storage_->loadDeviceAuthData(); }
  Result<std::optional<UserModel>> currentUser() override { return storage_->currentUser(); }
  std::optional<std::string> trustedDeviceID() const override { return storage_->trustedDeviceID(); }

 private:
  const std::shared_ptr<FileCredentialsStorage> storage_;
};

}  // namespace lx::tool
