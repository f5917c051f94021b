#include "LXUtils/Network/NetworkResponse.h"

#include "LXUtils/Network/HTTPCookie.h"

namespace lx {

std::vector<HTTPCookie> NetworkResponse::cookies(Date now) const {
  std::vector<HTTPCookie> found;
  const auto lines = headers.values(HTTPHeaderName::setCookie);
  if (lines.empty()) return found;
  for (const auto line : lines) {
    if (auto cookie = HTTPCookie::parse(line, url, now)) found.push_back(std::move(*cookie));
  }
  return found;
}

std::optional<std::string> NetworkResponse::cookieValue(HTTPCookieName name, Date now) const {
  // A cookie that expired just now by this device's clock may be good: the clock may be ahead of the server's.
  const Date longPast = now - std::chrono::days(1);
  std::vector<HTTPCookie> left;
  for (auto& cookie : cookies(now)) {
    if (cookie.name != name.rawValue) continue;
    std::erase_if(left, [&](const HTTPCookie& earlier) {
      return earlier.domain == cookie.domain && earlier.hostOnly == cookie.hostOnly && earlier.path == cookie.path;
    });
    if (!cookie.expires || *cookie.expires > longPast) left.push_back(std::move(cookie));
  }
  return left.empty() ? std::nullopt : std::optional(std::move(left.back().value));
}

}  // namespace lx
