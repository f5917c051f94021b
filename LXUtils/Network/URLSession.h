#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "LXUtils/Concurrency/Task.h"
#include "LXUtils/Network/NetworkResponse.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

/// Why no response arrived.
struct URLSessionError {
  enum class Kind {
    invalidRequest,  ///< no absolute http(s) URL, or a header with CR, LF or NUL: nothing was sent
    cannotFindHost,
    cannotConnect,           ///< to the host or the proxy, or the proxy asks for credentials
    secureConnectionFailed,  ///< TLS: the handshake failed or the certificate is not trusted for the host
    timedOut,
    connectionLost,     ///< cut while sending or receiving
    badServerResponse,  ///< not HTTP, or in a coding that was not asked for
    bodyTooLarge,       ///< beyond the session's limit
    tooManyRedirects,
    redirectRefused,  ///< from https to http, or to what is no URL
    other,
  };
  Kind kind = Kind::other;
  std::string details;  ///< the transport's own words; no part of the request

  std::string typeName() const;
  std::string description() const;
  bool operator==(const URLSessionError&) const = default;
};

/// Sends requests. Tasks complete on the session's own thread: hop to a queue before doing work. Cancelling a task ends
/// its transfer. A session that goes away cancels what is under way.
class URLSession {
 public:
  virtual ~URLSession() = default;

  /// Sends the request as it is. A response of any status is a value. Errors: URLSessionError; RuntimeError when
  /// nothing was sent, since the library's threads cannot be started.
  virtual Task<NetworkResponse> send(URLRequest request) = 0;

  /// The longest that a network service's call on this session may take: all attempts, refreshes and delays included.
  /// `nullopt` for no bound.
  virtual std::optional<std::chrono::milliseconds> callTimeout() const { return std::nullopt; }
};

}  // namespace lx
