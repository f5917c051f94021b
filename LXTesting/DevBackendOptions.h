#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "LXTesting/DevUser.h"
#include "LXTesting/Scenario.h"

namespace lx {

/// Which cookies the endpoints of the cookie era set.
struct DevCookies {
  bool authToken = true;
  bool csrfToken = true;
  bool authPolicy = true;
  bool trustedDeviceID = true;

  bool operator==(const DevCookies&) const = default;
};

/// The hosts of every deployment, production included: each domain and all names one label below it.
std::vector<std::string> deployedHostNames();

/// What a development backend is started with.
struct DevBackendOptions {
  std::uint16_t port = 0;  ///< 0 takes any that is free
  /// The DNS names of the server's certificate, beside localhost and 127.0.0.1.
  std::vector<std::string> hostNames = deployedHostNames();
  std::string caFile = {};                    ///< where clients find the authority; empty: a temporary file
  std::int64_t tokenLifetime = 3600;          ///< seconds
  std::chrono::milliseconds refreshGrace{0};  ///< how long a used refresh token still gives the same new pair
  std::chrono::milliseconds codeLifetime{60'000};
  DevCookies cookies = {};
  std::string appRedirectURI = "lexiconia://oauth";  ///< where the older sign-in pages send the browser
  std::vector<DevUser> users = seededUsers();
  Scenario scenario = {};
};

}  // namespace lx
