#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/URL.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {

struct HTTPCookie;

/// The answer of a server, whatever its status.
struct NetworkResponse {
  int statusCode = 0;
  HTTPHeaders headers;
  std::shared_ptr<const Data> body;  ///< null when the server sent no byte; copies of the response share it
  URL url;                           ///< where the answer came from, after redirects

  /// True for the statuses 200 to 299.
  bool isSuccess() const { return statusCode >= 200 && statusCode < 300; }

  /// True for the status 401.
  bool isUnauthorized() const { return statusCode == 401; }

  /// The cookies of the response's own Set-Cookie headers, in their order, whatever a jar makes of them. A Max-Age
  /// counts from `now`.
  std::vector<HTTPCookie> cookies(Date now = Clock::system()->now()) const;

  /// The value of the last cookie of that name. A later Set-Cookie replaces an earlier one of the same domain and path
  /// (RFC 6265, section 5.3); one that expired more than a day before `now` takes it away.
  std::optional<std::string> cookieValue(HTTPCookieName name, Date now = Clock::system()->now()) const;
};

}  // namespace lx
