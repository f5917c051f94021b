#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/Network/HTTPCookieStorage.h"

namespace lx {

/// A field of a configuration with which no session can be made. Its value is left out, since a proxy's URL can hold a
/// password.
struct URLSessionConfigurationError {
  std::string field;     ///< its name in URLSessionConfiguration
  std::string expected;  ///< in words

  std::string typeName() const;
  std::string description() const;
  bool operator==(const URLSessionConfigurationError&) const = default;
};

/// How a session sends its requests.
struct URLSessionConfiguration {
  /// The longest that a whole exchange may take, redirects included. A request's own time-out wins.
  std::chrono::milliseconds timeout = std::chrono::seconds(60);

  /// The longest that a whole call of a network service may take, all attempts, refreshes and delays included. Then the
  /// call fails with URLSessionError timedOut. No bound if absent, and none for requests with a time-out of their own,
  /// such as those to the token endpoint: a refresh that is cut short can lose the sign-in.
  std::optional<std::chrono::milliseconds> callTimeout = std::nullopt;

  /// The longest that making one connection may take, the TLS handshake included.
  std::chrono::milliseconds connectTimeout = std::chrono::seconds(15);

  /// The most bytes that the body of a response may have, counted before and after decompression.
  std::size_t maximumBodySize = std::size_t{32} << 20;

  /// The most connections that are kept open while idle, and the most that are open at once.
  std::size_t maximumIdleConnections = 32;
  std::size_t maximumConnections = 128;

  /// The proxy's URL, with its scheme: http, https, socks4, socks4a, socks5 or socks5h. Without one there is no proxy,
  /// whatever the environment says.
  std::optional<std::string> proxy = std::nullopt;

  /// A PEM file of the only certificate authorities to trust; the system's when absent.
  std::optional<std::string> caFile = std::nullopt;

  /// "HOST:PORT" or "[IPv6]:PORT": connections for any host go there. Names and certificates are checked as if they did
  /// not.
  std::optional<std::string> connectTo = std::nullopt;

  /// The User-Agent of requests that have none of their own.
  std::optional<std::string> userAgent = std::nullopt;

  /// The jar that supplies cookies to requests without a Cookie header and keeps those of every response: the jar of
  /// the process unless set. Null for none.
  std::shared_ptr<HTTPCookieStorage> cookieStorage = HTTPCookieStorage::shared();

  /// Looks at each field and reads the CA file. Errors: URLSessionConfigurationError for the first invalid field.
  Result<void> validate() const;
};

}  // namespace lx
