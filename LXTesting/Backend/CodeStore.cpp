#include "LXTesting/Backend/CodeStoreInternal.h"
#include "LXTesting/Backend/SecretsInternal.h"

namespace lx::backend {

CodeStore::CodeStore(std::shared_ptr<Clock> clock, std::chrono::milliseconds lifetime)
    : clock_(std::move(clock)), lifetime_(lifetime) {}

std::string CodeStore::issue(std::string challenge, Grantee grantee) {
  auto text = randomToken();
  codes_.withLock([&](auto& codes) {
    codes[text] = Code{.challenge = std::move(challenge),
                       .grantee = std::move(grantee),
                       .expiry = clock_->steadyNow() + lifetime_,
                       .used = false,
                       .refreshToken = {}};
  });
  return text;
}

std::expected<Grantee, CodeStore::Refusal> CodeStore::redeem(const std::string& code, const std::string& verifier,
                                                             const std::string& clientID) {
  return codes_.withLock([&](auto& codes) -> std::expected<Grantee, Refusal> {
    const auto found = codes.find(code);
    if (found == codes.end()) return std::unexpected(Refusal::unknown);
    Code& entry = found->second;
    if (!entry.grantee.isClient(clientID) || entry.expiry <= clock_->steadyNow())
      return std::unexpected(Refusal::unknown);
    if (std::exchange(entry.used, true)) return std::unexpected(Refusal::usedBefore);
    if (codeChallenge(verifier) != entry.challenge) return std::unexpected(Refusal::wrongVerifier);
    return Grantee{entry.grantee.userID, clientID};
  });
}

void CodeStore::remember(const std::string& code, const std::string& refreshToken) {
  codes_.withLock([&](auto& codes) { codes[code].refreshToken = refreshToken; });
}

std::string CodeStore::refreshTokenOf(const std::string& code) const {
  return codes_.withLock([&](const auto& codes) {
    const auto found = codes.find(code);
    return found == codes.end() ? std::string() : found->second.refreshToken;
  });
}

}  // namespace lx::backend
