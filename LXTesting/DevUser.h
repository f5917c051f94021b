#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lx {

/// A user whom the development backend knows. Its tokens are sample data, fixed so that scripts can use them.
struct DevUser {
  std::string key = {};  ///< what tests and people call the user: "ordinary"
  std::string id = {};
  std::string record = {};                      ///< the user record as the user endpoints send it, JSON
  std::string role = {};                        ///< custom field "frontend_role", sent when asked for
  std::string lxauthToken = {};                 ///< a session of the cookie era
  std::string googleToken = {};                 ///< what the platform's Google sign-in would return, token or code
  std::string appleToken = {};                  ///< the same of Apple's
  std::optional<std::string> blockReason = {};  ///< every authenticated answer is 403 with this "error"

  bool operator==(const DevUser&) const = default;
};

/// The users that every development backend starts with: "ordinary", "institution", "managed", "blocked" and
/// "anonymous". Provider tokens that begin with "newcomer-" create a user on first sight.
std::vector<DevUser> seededUsers();

}  // namespace lx
