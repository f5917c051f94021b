#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx {

/// A credentials store without files, which fails when it is told to. Any thread.
class InMemoryCredentialsStorage final : public AuthCredentialsStorage {
 public:
  struct Records {
    std::optional<OAuth2Credentials> credentials;
    std::optional<UserAuthData> legacyAuthData;
    DeviceAuthData deviceAuthData;
    std::optional<UserModel> user;
  };

  Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) override;
  Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() override;
  Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& authData) override;
  Result<std::optional<UserAuthData>> loadLegacyAuthData() override;
  Result<void> storeDeviceAuthData(const DeviceAuthData& deviceAuthData) override;
  Result<DeviceAuthData> loadDeviceAuthData() override;
  Result<ReplaceOutcome> replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                  const OAuth2Credentials& credentials) override;
  Result<PreparedReplacement> prepareReplacement(const OAuth2Credentials& replaced) override;
  Result<std::optional<UserModel>> currentUser() override;
  std::optional<std::string> trustedDeviceID() const override;

  /// What is stored, to look at and to change as another process would.
  Records records() const;
  void setRecords(Records records);

  /// The next load of credentials gives these instead, as if another process had written right after it.
  void answerNextLoad(OAuth2Credentials credentials);

  /// How often credentials were stored.
  std::size_t credentialStores() const;

  /// From now on every load, store or preparation of a replacement fails with the error; `nullopt` lets them work
  /// again.
  void failLoads(std::optional<Error> error);
  void failStores(std::optional<Error> error);
  void failPreparations(std::optional<Error> error);

  /// The next preparation of a replacement stores these credentials and returns them as `recovered`.
  void recoverNext(OAuth2Credentials credentials);

 private:
  struct State {
    Records records;
    std::size_t credentialStores = 0;
    std::optional<OAuth2Credentials> nextLoad;
    std::optional<Error> loadError;
    std::optional<Error> storeError;
    std::optional<Error> preparationError;
    std::optional<OAuth2Credentials> recoverable;
  };

  template <class Member>
  Result<Member> load(Member Records::* member) const;
  template <class Member>
  Result<void> store(Member Records::* member, const Member& value);

  Protected<State> state_;
};

}  // namespace lx
