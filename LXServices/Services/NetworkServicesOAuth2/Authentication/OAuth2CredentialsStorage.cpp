#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsStorage.h"

namespace lx {
namespace {

// For stores that can reserve nothing.
class UnreservedReplacement final : public CredentialsReplacement {
 public:
  UnreservedReplacement(OAuth2CredentialsStorage& storage, OAuth2Credentials replaced)
      : storage_(storage), replaced_(std::move(replaced)) {}

  Result<ReplaceOutcome> store(const OAuth2Credentials& credentials) override {
    return storage_.replaceOAuth2Credentials(replaced_, credentials);
  }

 private:
  OAuth2CredentialsStorage& storage_;
  const OAuth2Credentials replaced_;
};

}  // namespace

Result<ReplaceOutcome> OAuth2CredentialsStorage::replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                                          const OAuth2Credentials& credentials) {
  const auto stored = loadOAuth2Credentials();
  if (!stored) return fail(stored.error());
  if (!*stored || !haveSameTokens(**stored, replaced)) return ReplaceOutcome::storeHasMovedOn;
  if (const auto done = storeOAuth2Credentials(credentials); !done) return fail(done.error());
  return ReplaceOutcome::stored;
}

Result<PreparedReplacement> OAuth2CredentialsStorage::prepareReplacement(const OAuth2Credentials& replaced) {
  return PreparedReplacement{std::make_unique<UnreservedReplacement>(*this, replaced), std::nullopt};
}

}  // namespace lx
