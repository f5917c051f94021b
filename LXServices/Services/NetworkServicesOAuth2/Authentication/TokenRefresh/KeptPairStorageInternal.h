#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsStorage.h"
#include "LXUtils/Foundation/Clock.h"

namespace lx {

/// The credentials store, together with a refreshed pair that the store did not take: the refresh token that the store
/// holds is spent, so that the pair must not be lost. The pair counts as stored for this process, and storing it is
/// tried again at most once a second. It is dropped once the store holds anything but the credentials that the pair
/// replaces.
///
/// Not thread-safe: its owner calls it under its own lock.
class KeptPairStorage {
 public:
  KeptPairStorage(std::shared_ptr<OAuth2CredentialsStorage> storage, std::shared_ptr<Clock> clock);

  /// The stored credentials, or the kept pair. Errors: those of the store, while no pair is kept.
  Result<std::optional<OAuth2Credentials>> load();

  /// The credentials that the store itself holds while `load` returns `credentials`.
  OAuth2Credentials underlying(const OAuth2Credentials& credentials) const;

  /// Keeps `credentials`, which were obtained for `replaced`.
  void keep(const OAuth2Credentials& credentials, const OAuth2Credentials& replaced);

 private:
  static constexpr std::chrono::seconds retryInterval{1};

  struct KeptPair {
    OAuth2Credentials credentials;
    OAuth2Credentials replaced;          // in the store
    Clock::SteadyTime nextAttempt = {};  // each costs the callers the time of a write to the disk
  };

  const std::shared_ptr<OAuth2CredentialsStorage> storage_;
  const std::shared_ptr<Clock> clock_;
  std::optional<KeptPair> kept_;
};

}  // namespace lx
