#include "LXUtils/Network/NetworkResponse.h"

#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Network/HTTPCookie.h"

namespace lx {

std::vector<HTTPCookie> NetworkResponse::cookies() const {
  std::vector<HTTPCookie> found;
  const auto lines = headers.values(HTTPHeaderName::setCookie);
  if (lines.empty()) return found;
  const Date now = Clock::system()->now();
  for (const auto line : lines) {
    if (auto cookie = HTTPCookie::parse(line, url, now)) found.push_back(std::move(*cookie));
  }
  return found;
}

std::optional<std::string> NetworkResponse::cookieValue(HTTPCookieName name) const {
  std::optional<std::string> value;
  const Date now = Clock::system()->now();
  for (auto& cookie : cookies()) {
    if (cookie.name != name.rawValue) continue;
    const bool isDeletion = cookie.expires && *cookie.expires <= now;
    value = isDeletion ? std::nullopt : std::optional(std::move(cookie.value));
  }
  return value;
}

}  // namespace lx
