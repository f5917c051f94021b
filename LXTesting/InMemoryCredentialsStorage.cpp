#include "LXTesting/InMemoryCredentialsStorage.h"

#include <utility>

namespace lx {

InMemoryCredentialsStorage::InMemoryCredentialsStorage(std::optional<OAuth2Credentials> credentials) {
  replaceCredentials(std::move(credentials));
}

template <class T>
Result<T> InMemoryCredentialsStorage::load(T State::* member) const {
  return state_.withLock([&](const State& state) -> Result<T> {
    if (state.loadFailure) return fail(*state.loadFailure);
    return state.*member;
  });
}

template <class T>
Result<void> InMemoryCredentialsStorage::store(T State::* member, const T& value) {
  return state_.withLock([&](State& state) -> Result<void> {
    if (state.storeFailure) return fail(*state.storeFailure);
    state.*member = value;
    return {};
  });
}

Result<void> InMemoryCredentialsStorage::storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) {
  return state_.withLock([&](State& state) -> Result<void> {
    if (state.storeFailure) return fail(*state.storeFailure);
    state.credentials = credentials;
    state.stored.push_back(credentials);
    return {};
  });
}

Result<std::optional<OAuth2Credentials>> InMemoryCredentialsStorage::loadOAuth2Credentials() {
  return load(&State::credentials);
}

Result<void> InMemoryCredentialsStorage::storeLegacyAuthData(const std::optional<UserAuthData>& authData) {
  return store(&State::legacy, authData);
}

Result<std::optional<UserAuthData>> InMemoryCredentialsStorage::loadLegacyAuthData() { return load(&State::legacy); }

Result<void> InMemoryCredentialsStorage::storeDeviceAuthData(const DeviceAuthData& deviceAuthData) {
  return store(&State::device, deviceAuthData);
}

Result<DeviceAuthData> InMemoryCredentialsStorage::loadDeviceAuthData() { return load(&State::device); }

Result<void> InMemoryCredentialsStorage::storeUser(const std::optional<UserModel>& user) {
  return store(&State::user, user);
}

Result<std::optional<UserModel>> InMemoryCredentialsStorage::currentUser() { return load(&State::user); }

std::optional<std::string> InMemoryCredentialsStorage::trustedDeviceID() const {
  auto device = load(&State::device);
  return device ? std::move(device->trustedDeviceID) : std::nullopt;
}

void InMemoryCredentialsStorage::failLoads(std::optional<Error> error) {
  state_.withLock([&](State& state) { state.loadFailure = std::move(error); });
}

void InMemoryCredentialsStorage::failStores(std::optional<Error> error) {
  state_.withLock([&](State& state) { state.storeFailure = std::move(error); });
}

std::vector<std::optional<OAuth2Credentials>> InMemoryCredentialsStorage::storedCredentials() const {
  return state_.withLock([](const State& state) { return state.stored; });
}

void InMemoryCredentialsStorage::replaceCredentials(std::optional<OAuth2Credentials> credentials) {
  state_.withLock([&](State& state) { state.credentials = std::move(credentials); });
}

}  // namespace lx
