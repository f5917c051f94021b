#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LXTesting/DevUser.h"
#include "LXUtils/Concurrency/Protected.h"

namespace lx::backend {

using UserPointer = std::shared_ptr<const DevUser>;

/// A signed-in browser: the values of its cookies.
struct WebSession {
  std::string lxauth;
  std::string csrf;
  std::string userID;
};

/// The users, their sessions of the cookie era and the devices that are trusted. Thread-safe.
class Accounts {
 public:
  explicit Accounts(std::vector<DevUser> users);

  void add(DevUser user);
  std::vector<DevUser> users() const;

  /// By key or by identifier; null when there is none.
  UserPointer find(const std::string& keyOrID) const;
  /// Null when nobody signs in by that token.
  UserPointer byProviderToken(const std::string& token) const;

  /// A new user without a name; `key` starts its key and its e-mail address.
  UserPointer create(const std::string& key, bool anonymous);
  /// A new user who signs in by that provider token from now on.
  UserPointer createForProvider(const std::string& token);

  WebSession openSession(const std::string& userID);
  /// The user of a session that is open; seeded users have one from the start.
  std::optional<std::string> userOfSession(const std::string& lxauth) const;
  void closeSession(const std::string& lxauth);

  /// The given device identifier, or a new one where none is given.
  static std::string trustedDevice(const std::optional<std::string>& given);

 private:
  struct State {
    std::map<std::string, UserPointer> users;     ///< by identifier
    std::map<std::string, std::string> sessions;  ///< lxauth to user identifier
    int nextID = 3001;

    UserPointer add(DevUser user);
    template <class Condition>
    UserPointer first(const Condition& condition) const;
  };

  UserPointer create(const std::string& key, bool anonymous, const std::string& providerToken);

  Protected<State> state_;
};

}  // namespace lx::backend
