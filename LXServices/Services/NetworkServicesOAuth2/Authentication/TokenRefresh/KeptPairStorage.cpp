#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/KeptPairStorageInternal.h"

namespace lx {

KeptPairStorage::KeptPairStorage(std::shared_ptr<OAuth2CredentialsStorage> storage, std::shared_ptr<Clock> clock)
    : storage_(std::move(storage)), clock_(std::move(clock)) {}

Result<std::optional<OAuth2Credentials>> KeptPairStorage::load() {
  auto stored = storage_->loadOAuth2Credentials();
  if (!kept_) return stored;
  if (stored && (!*stored || !haveSameTokens(**stored, kept_->replaced))) {
    kept_.reset();
    return stored;
  }
  auto credentials = kept_->credentials;
  if (const auto now = clock_->steadyNow(); stored && now >= kept_->nextAttempt) {
    kept_->nextAttempt = now + retryInterval;
    const auto outcome = storage_->replaceOAuth2Credentials(kept_->replaced, credentials);
    if (outcome == ReplaceOutcome::stored) kept_.reset();
  }
  return credentials;
}

OAuth2Credentials KeptPairStorage::underlying(const OAuth2Credentials& credentials) const {
  return kept_ && haveSameTokens(kept_->credentials, credentials) ? kept_->replaced : credentials;
}

void KeptPairStorage::keep(const OAuth2Credentials& credentials, const OAuth2Credentials& replaced) {
  kept_ = KeptPair{credentials, underlying(replaced), clock_->steadyNow()};
}

}  // namespace lx
