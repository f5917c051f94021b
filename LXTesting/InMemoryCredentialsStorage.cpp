#include "LXTesting/InMemoryCredentialsStorage.h"

#include <utility>

namespace lx {

template <class Member>
Result<Member> InMemoryCredentialsStorage::load(Member Records::* member) const {
  return state_.withLock([&](const State& state) -> Result<Member> {
    if (state.loadError) return fail(*state.loadError);
    return state.records.*member;
  });
}

template <class Member>
Result<void> InMemoryCredentialsStorage::store(Member Records::* member, const Member& value) {
  return state_.withLock([&](State& state) -> Result<void> {
    if (state.storeError) return fail(*state.storeError);
    state.records.*member = value;
    return {};
  });
}

Result<void> InMemoryCredentialsStorage::storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) {
  state_.withLock([](State& state) { ++state.credentialStores; });
  return store(&Records::credentials, credentials);
}

Result<std::optional<OAuth2Credentials>> InMemoryCredentialsStorage::loadOAuth2Credentials() {
  auto next = state_.withLock([](State& state) { return std::exchange(state.nextLoad, std::nullopt); });
  return next ? std::move(next) : load(&Records::credentials);
}

Result<ReplaceOutcome> InMemoryCredentialsStorage::replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                                            const OAuth2Credentials& credentials) {
  return state_.withLock([&](State& state) -> Result<ReplaceOutcome> {
    if (state.loadError) return fail(*state.loadError);
    auto& stored = state.records.credentials;
    if (!stored || !haveSameTokens(*stored, replaced)) return ReplaceOutcome::storeHasMovedOn;
    ++state.credentialStores;
    if (state.storeError) return fail(*state.storeError);
    stored = credentials;
    return ReplaceOutcome::stored;
  });
}

Result<PreparedReplacement> InMemoryCredentialsStorage::prepareReplacement(const OAuth2Credentials& replaced) {
  const auto [error, recovered] = state_.withLock([&](State& state) {
    auto recoverable = std::exchange(state.recoverable, std::nullopt);
    if (recoverable) state.records.credentials = recoverable;
    return std::pair(state.preparationError, std::move(recoverable));
  });
  if (error) return fail(*error);
  if (recovered) return PreparedReplacement{nullptr, recovered};
  return AuthCredentialsStorage::prepareReplacement(replaced);
}

Result<void> InMemoryCredentialsStorage::storeLegacyAuthData(const std::optional<UserAuthData>& authData) {
  return store(&Records::legacyAuthData, authData);
}

Result<std::optional<UserAuthData>> InMemoryCredentialsStorage::loadLegacyAuthData() {
  return load(&Records::legacyAuthData);
}

Result<void> InMemoryCredentialsStorage::storeDeviceAuthData(const DeviceAuthData& deviceAuthData) {
  return store(&Records::deviceAuthData, deviceAuthData);
}

Result<DeviceAuthData> InMemoryCredentialsStorage::loadDeviceAuthData() { return load(&Records::deviceAuthData); }

Result<std::optional<UserModel>> InMemoryCredentialsStorage::currentUser() { return load(&Records::user); }

std::optional<std::string> InMemoryCredentialsStorage::trustedDeviceID() const {
  const auto data = load(&Records::deviceAuthData);
  return data ? data->trustedDeviceID : std::nullopt;
}

InMemoryCredentialsStorage::Records InMemoryCredentialsStorage::records() const {
  return state_.withLock([](const State& state) { return state.records; });
}

void InMemoryCredentialsStorage::setRecords(Records records) {
  state_.withLock([&](State& state) { std::swap(state.records, records); });
}

void InMemoryCredentialsStorage::answerNextLoad(OAuth2Credentials credentials) {
  state_.withLock([&](State& state) { state.nextLoad = std::move(credentials); });
}

std::size_t InMemoryCredentialsStorage::credentialStores() const {
  return state_.withLock([](const State& state) { return state.credentialStores; });
}

void InMemoryCredentialsStorage::failLoads(std::optional<Error> error) {
  state_.withLock([&](State& state) { std::swap(state.loadError, error); });
}

void InMemoryCredentialsStorage::failStores(std::optional<Error> error) {
  state_.withLock([&](State& state) { std::swap(state.storeError, error); });
}

void InMemoryCredentialsStorage::failPreparations(std::optional<Error> error) {
  state_.withLock([&](State& state) { std::swap(state.preparationError, error); });
}

void InMemoryCredentialsStorage::recoverNext(OAuth2Credentials credentials) {
  state_.withLock([&](State& state) { state.recoverable = std::move(credentials); });
}

}  // namespace lx
