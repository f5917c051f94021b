#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/Date.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

/// A cookie (RFC 6265). The value is a secret.
struct HTTPCookie {
  std::string name;
  std::string value;
  std::string domain;    ///< lower-case, without a leading dot
  bool hostOnly = true;  ///< for the domain alone, not for hosts below it
  std::string path = "/";
  std::optional<Date> expires = std::nullopt;  ///< absent for a cookie of the session
  bool secure = false;
  bool httpOnly = false;

  bool operator==(const HTTPCookie&) const = default;

  /// Reads the value of a Set-Cookie header that `url` answered with (RFC 6265, section 5.2; Max-Age counts from `now`
  /// and wins over Expires). The result is what the server said, fit for the host or not: whether to keep it is the
  /// jar's decision. Nothing for a header to be ignored, among them one with a control character.
  static std::optional<HTTPCookie> parse(std::string_view setCookie, const URL& url, Date now);

  /// The lenient date of cookies (RFC 6265, section 5.1.1).
  static std::optional<Date> parseDate(std::string_view text);
};

}  // namespace lx
