#include <algorithm>

#include "LXTesting/Backend/AccountsInternal.h"
#include "LXTesting/Backend/JSONInternal.h"
#include "LXTesting/Backend/SecretsInternal.h"

namespace lx::backend {

Accounts::Accounts(std::vector<DevUser> users) {
  for (auto& user : users) add(std::move(user));
}

UserPointer Accounts::State::add(DevUser user) {
  if (!user.lxauthToken.empty()) sessions[user.lxauthToken] = user.id;
  auto pointer = std::make_shared<const DevUser>(std::move(user));
  users[pointer->id] = pointer;
  return pointer;
}

template <class Condition>
UserPointer Accounts::State::first(const Condition& condition) const {
  const auto found =
      std::find_if(users.begin(), users.end(), [&](const auto& user) { return condition(*user.second); });
  return found == users.end() ? nullptr : found->second;
}

void Accounts::add(DevUser user) {
  state_.withLock([&](State& state) { state.add(std::move(user)); });
}

std::vector<DevUser> Accounts::users() const {
  return state_.withLock([](const State& state) {
    std::vector<DevUser> result;
    result.reserve(state.users.size());
    for (const auto& [id, user] : state.users) result.push_back(*user);
    return result;
  });
}

UserPointer Accounts::find(const std::string& keyOrID) const {
  return state_.withLock([&](const State& state) {
    const auto byID = state.users.find(keyOrID);
    return byID != state.users.end() ? byID->second
                                     : state.first([&](const DevUser& user) { return user.key == keyOrID; });
  });
}

UserPointer Accounts::byProviderToken(const std::string& token) const {
  return state_.withLock([&](const State& state) {
    return state.first([&](const DevUser& user) { return user.googleToken == token || user.appleToken == token; });
  });
}

UserPointer Accounts::create(const std::string& key, bool anonymous) { return create(key, anonymous, {}); }

UserPointer Accounts::createForProvider(const std::string& token) { return create("newcomer", false, token); }

UserPointer Accounts::create(const std::string& key, bool anonymous, const std::string& providerToken) {
  return state_.withLock([&](State& state) {
    DevUser user{};
    user.id = std::to_string(state.nextID++);
    user.key = key + "-" + user.id;
    user.role = anonymous ? "guest" : "writer";
    user.googleToken = providerToken;
    user.record = json::serialize(json::object{{"id", user.id},
                                               {"email", anonymous ? std::string() : user.key + "@example.test"},
                                               {"anonymous", anonymous},
                                               {"isTest", false},
                                               {"groups", json::array()}});
    return state.add(std::move(user));
  });
}

WebSession Accounts::openSession(const std::string& userID) {
  WebSession session{randomToken(), randomToken(), userID};
  state_.withLock([&](State& state) { state.sessions[session.lxauth] = userID; });
  return session;
}

std::optional<std::string> Accounts::userOfSession(const std::string& lxauth) const {
  return state_.withLock([&](const State& state) -> std::optional<std::string> {
    const auto found = state.sessions.find(lxauth);
    return found == state.sessions.end() ? std::nullopt : std::optional(found->second);
  });
}

void Accounts::closeSession(const std::string& lxauth) {
  state_.withLock([&](State& state) { state.sessions.erase(lxauth); });
}

std::string Accounts::trustedDevice(const std::optional<std::string>& given) {
  return given ? *given : "device-" + randomToken().substr(0, 16);
}

}  // namespace lx::backend
