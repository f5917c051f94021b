#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "LXTesting/DevBackendError.h"
#include "LXTesting/DevBackendOptions.h"
#include "LXTesting/DevUser.h"
#include "LXTesting/Journal.h"
#include "LXTesting/Relay.h"
#include "LXTesting/Scenario.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// What a sign-in gives.
struct DevCredentials {
  std::string accessToken;
  std::string refreshToken;
  std::int64_t expiresIn = 0;  ///< seconds

  bool operator==(const DevCredentials&) const = default;
};

/// A real HTTPS server on a loopback port that plays every endpoint of the product's backend, on whatever host it is
/// asked for: clients are told to connect to `address` for all hosts, and to trust `caFile`.
///
/// Tokens live and die by real time. Other processes steer it through `/_dev/...`: GET journal; POST scenario (a
/// scenario file), expire, revoke ({"refresh_token"} or everything), lifetime ({"expires_in"}), grace
/// ({"milliseconds"}), credentials ({"user"}) and code ({"user", "code_challenge"}), with JSON bodies.
///
/// Thread-safe. Everything that it started has ended when it is destroyed.
class DevBackend {
 public:
  using Options = DevBackendOptions;

  /// Answers requests when it returns. Fails with DevBackendError.
  static Result<std::unique_ptr<DevBackend>> start(Options options = {},
                                                   std::shared_ptr<Clock> clock = Clock::system());
  DevBackend(const DevBackend&) = delete;
  DevBackend& operator=(const DevBackend&) = delete;
  ~DevBackend();

  /// The port to connect to: the server's, or that of the relay which the scenario asked for.
  std::uint16_t port() const;
  /// "127.0.0.1:PORT".
  std::string address() const;
  const std::string& caFile() const;
  const std::string& caPEM() const;

  /// For tokens issued from now on.
  void setTokenLifetime(std::int64_t seconds);
  void setRefreshGrace(std::chrono::milliseconds grace);
  void setCookies(DevCookies cookies);
  void setScenario(Scenario scenario);
  /// Adds a fault to those of a route; see Scenario::RouteFaults for its form.
  void addFault(std::string route, Fault fault);

  /// The token's family is refused from now on, as after a sign-out on another device.
  void revokeRefreshToken(const std::string& refreshToken);
  void revokeRefreshTokens();
  /// Every access token issued so far is refused, whatever lifetime it was promised.
  void expireAccessTokens();

  std::vector<DevUser> users() const;
  void addUser(DevUser user);

  /// A code for the token endpoint or the unified-login exchange, as if the user (by key or identifier) had signed in
  /// in a browser. Fails with DevBackendError::unknownUser.
  Result<std::string> issueCode(const std::string& codeChallenge, const std::string& user);

  /// A new sign-in of the user (by key or identifier), for any client. Fails with DevBackendError::unknownUser.
  Result<DevCredentials> mintCredentials(const std::string& user);

  Journal& journal();

  /// The relay in front, where the scenario had rules for connections; null otherwise.
  Relay* relay();

 private:
  struct Parts;
  explicit DevBackend(std::unique_ptr<Parts> parts);

  std::unique_ptr<Parts> parts_;
};

}  // namespace lx
