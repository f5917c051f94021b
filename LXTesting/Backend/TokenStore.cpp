#include <algorithm>

#include "LXTesting/Backend/SecretsInternal.h"
#include "LXTesting/Backend/TokenStoreInternal.h"

namespace lx::backend {

namespace {

/// As long as the clock can count: clients are also tested with lifetimes beyond all reason.
constexpr std::int64_t longestLifetime = 100LL * 365 * 86'400;

}  // namespace

TokenStore::TokenStore(std::shared_ptr<Clock> clock, std::int64_t expiresIn, std::chrono::milliseconds grace)
    : clock_(std::move(clock)),
      state_(State{.expiresIn = expiresIn, .grace = grace, .refreshTokens = {}, .accessTokens = {}}) {}

IssuedTokens TokenStore::issue(const Grantee& grantee) {
  return state_.withLock([&](State& state) { return issue(state, std::make_shared<Family>(Family{grantee, false})); });
}

IssuedTokens TokenStore::issue(State& state, std::shared_ptr<Family> family) const {
  IssuedTokens tokens{randomToken(), randomToken(), state.expiresIn};
  state.refreshTokens[tokens.refreshToken].family = family;
  const std::chrono::seconds lifetime(std::min(state.expiresIn, longestLifetime));
  state.accessTokens[tokens.accessToken] = {std::move(family), clock_->steadyNow() + lifetime};
  return tokens;
}

std::optional<IssuedTokens> TokenStore::refresh(const std::string& refreshToken, const std::string& clientID) {
  return state_.withLock([&](State& state) -> std::optional<IssuedTokens> {
    const auto found = state.refreshTokens.find(refreshToken);
    if (found == state.refreshTokens.end()) return std::nullopt;
    RefreshToken& token = found->second;
    if (token.family->revoked || !token.family->grantee.isClient(clientID)) return std::nullopt;
    const auto now = clock_->steadyNow();
    if (!token.usedAt) {
      auto tokens = issue(state, token.family);
      token.usedAt = now;
      token.nextAccessToken = tokens.accessToken;
      token.nextRefreshToken = tokens.refreshToken;
      return tokens;
    }
    if (now - *token.usedAt < state.grace) {
      if (auto again = answerAgain(state, token)) return again;
    }
    token.family->revoked = true;
    return std::nullopt;
  });
}

/// The pair of the first exchange, unless that was itself exchanged already.
std::optional<IssuedTokens> TokenStore::answerAgain(const State& state, const RefreshToken& used) const {
  const auto next = state.refreshTokens.find(used.nextRefreshToken);
  const auto access = state.accessTokens.find(used.nextAccessToken);
  if (next == state.refreshTokens.end() || next->second.usedAt || access == state.accessTokens.end()) {
    return std::nullopt;
  }
  const auto left = std::chrono::ceil<std::chrono::seconds>(access->second.expiry - clock_->steadyNow());
  return IssuedTokens{used.nextAccessToken, used.nextRefreshToken, left.count()};
}

std::optional<Grantee> TokenStore::granteeOf(const std::string& refreshToken) const {
  return state_.withLock([&](const State& state) -> std::optional<Grantee> {
    const auto found = state.refreshTokens.find(refreshToken);
    return found == state.refreshTokens.end() ? std::nullopt : std::optional(found->second.family->grantee);
  });
}

std::optional<std::string> TokenStore::userOf(const std::string& accessToken) const {
  return state_.withLock([&](const State& state) -> std::optional<std::string> {
    const auto found = state.accessTokens.find(accessToken);
    if (found == state.accessTokens.end()) return std::nullopt;
    const AccessToken& token = found->second;
    if (token.family->revoked || token.expiry <= clock_->steadyNow()) return std::nullopt;
    return token.family->grantee.userID;
  });
}

void TokenStore::revoke(const std::string& refreshToken) {
  state_.withLock([&](State& state) {
    const auto found = state.refreshTokens.find(refreshToken);
    if (found != state.refreshTokens.end()) found->second.family->revoked = true;
  });
}

void TokenStore::revokeAll() {
  state_.withLock([](State& state) {
    for (auto& [text, token] : state.refreshTokens) token.family->revoked = true;
  });
}

void TokenStore::expireAccessTokens() {
  state_.withLock([](State& state) { state.accessTokens.clear(); });
}

void TokenStore::setExpiresIn(std::int64_t seconds) {
  state_.withLock([&](State& state) { state.expiresIn = seconds; });
}

void TokenStore::setGrace(std::chrono::milliseconds grace) {
  state_.withLock([&](State& state) { state.grace = grace; });
}

}  // namespace lx::backend
