#include "LXUtils/Network/HTTPCookieStorage.h"

#include <algorithm>

#include <arpa/inet.h>
#include <libpsl.h>

#include "LXUtils/Network/HTTPCookieInternal.h"

namespace lx {
namespace {

/// The system's clock, asked for only when it is needed: the jar of the process must not keep threads alive.
class ClockOnDemand final : public Clock {
 public:
  Date now() const override { return Clock::system()->now(); }
  SteadyTime steadyNow() const override { return Clock::system()->steadyNow(); }
  Timer after(Duration delay, std::shared_ptr<DispatchQueue> queue, Work work) override {
    return Clock::system()->after(delay, std::move(queue), std::move(work));
  }
};

bool isIPAddress(const std::string& host) {
  in_addr address{};
  return host.starts_with('[') || inet_pton(AF_INET, host.c_str(), &address) == 1;
}

/// RFC 6265, section 5.1.3.
bool domainMatches(const std::string& host, std::string_view domain) {
  if (host == domain) return true;
  return host.size() > domain.size() && host.ends_with(domain) && host[host.size() - domain.size() - 1] == '.' &&
         !isIPAddress(host);
}

/// Section 5.1.4.
bool pathMatches(std::string_view requestPath, std::string_view cookiePath) {
  if (!requestPath.starts_with(cookiePath)) return false;
  return requestPath.size() == cookiePath.size() || cookiePath.ends_with('/') || requestPath[cookiePath.size()] == '/';
}

bool isSecure(const URL& url) {
  return equalIgnoringCase(url.scheme(), "https") || equalIgnoringCase(url.scheme(), "wss");
}

bool isExpired(const HTTPCookie& cookie, Date now) { return cookie.expires && *cookie.expires <= now; }

bool hasPrefix(const HTTPCookie& cookie, std::string_view prefix) {
  return equalIgnoringCase(std::string_view(cookie.name).substr(0, prefix.size()), prefix);
}

/// What a name promises about its cookie (RFC 6265bis, section 4.1.3).
bool keepsPromiseOfName(const HTTPCookie& cookie) {
  if (hasPrefix(cookie, "__Secure-")) return cookie.secure;
  if (hasPrefix(cookie, "__Host-")) return cookie.secure && cookie.hostOnly && cookie.path == "/";
  return true;
}

/// Fits the cookie's domain to the host that sets it; false when that host may not set it.
bool adoptDomain(HTTPCookie& cookie, const std::string& host) {
  if (cookie.hostOnly) return true;
  if (psl_is_public_suffix(psl_builtin(), cookie.domain.c_str())) {
    cookie.hostOnly = true;  // such a host may still set cookies for itself
    return cookie.domain == host;
  }
  return domainMatches(host, cookie.domain);
}

}  // namespace

HTTPCookieStorage::HTTPCookieStorage(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

const std::shared_ptr<HTTPCookieStorage>& HTTPCookieStorage::shared() {
  static const auto jar = std::make_shared<HTTPCookieStorage>(std::make_shared<ClockOnDemand>());
  return jar;
}

void HTTPCookieStorage::storeFrom(const URL& url, const HTTPHeaders& headers) {
  const auto lines = headers.values(HTTPHeaderName::setCookie);
  if (lines.empty()) return;
  const Date now = clock_->now();
  const std::string host = canonicalHost(url.host());
  const bool secureOrigin = isSecure(url);
  for (const auto line : lines) {
    auto cookie = HTTPCookie::parse(line, url, now);
    if (!cookie || !adoptDomain(*cookie, host) || !keepsPromiseOfName(*cookie)) continue;
    if (cookie->secure && !secureOrigin) continue;
    jar_.withLock([&](Jar& jar) {
      if (secureOrigin || !jar.hasSecureTwin(*cookie)) jar.keep(std::move(*cookie), now);
    });
  }
}

void HTTPCookieStorage::setCookie(HTTPCookie cookie) {
  const Date now = clock_->now();
  jar_.withLock([&](Jar& jar) { jar.keep(std::move(cookie), now); });
}

std::vector<HTTPCookie> HTTPCookieStorage::cookiesFor(const URL& url) {
  const std::string host = canonicalHost(url.host());
  const std::string_view path = url.path().empty() ? "/" : url.path();
  const bool secureOrigin = isSecure(url);
  return jar_.withLock([&](Jar& jar) {
    std::vector<HTTPCookie> result;
    if (jar.cookies.empty()) return result;
    const Date now = clock_->now();
    std::vector<Kept*> matching;
    // The host itself, then each domain above it.
    for (std::string_view domain = host; !domain.empty();) {
      for (auto it = jar.cookies.lower_bound(Key{std::string(domain), {}, {}});
           it != jar.cookies.end() && it->first.domain == domain; ++it) {
        const HTTPCookie& cookie = it->second.cookie;
        const bool matches = cookie.hostOnly ? host == domain : domainMatches(host, domain);
        if (matches && pathMatches(path, cookie.path) && (secureOrigin || !cookie.secure) && !isExpired(cookie, now)) {
          matching.push_back(&it->second);
        }
      }
      const auto dot = domain.find('.');
      domain = dot == std::string_view::npos ? std::string_view() : domain.substr(dot + 1);
    }
    std::ranges::sort(matching, [](const Kept* a, const Kept* b) {
      return a->cookie.path.size() != b->cookie.path.size() ? a->cookie.path.size() > b->cookie.path.size()
                                                            : a->created < b->created;
    });
    const auto event = ++jar.events;
    for (Kept* kept : matching) {
      kept->lastUsed = event;
      result.push_back(kept->cookie);
    }
    return result;
  });
}

std::string HTTPCookieStorage::cookieHeaderFor(const URL& url) {
  std::string header;
  for (const auto& cookie : cookiesFor(url)) {
    if (!header.empty()) header.append("; ");
    header.append(cookie.name).append("=").append(cookie.value);
  }
  return header;
}

std::vector<HTTPCookie> HTTPCookieStorage::all() const {
  const Date now = clock_->now();
  return jar_.withLock([&](const Jar& jar) {
    std::vector<HTTPCookie> result;
    for (const auto& [key, kept] : jar.cookies) {
      if (!isExpired(kept.cookie, now)) result.push_back(kept.cookie);
    }
    return result;
  });
}

void HTTPCookieStorage::deleteCookie(const HTTPCookie& cookie) {
  jar_.withLock([&](Jar& jar) { jar.cookies.erase(keyOf(cookie)); });
}

// An open connection can be tampered with, and must not push aside what was set over a secure one (RFC 6265bis,
// section 5.7).
bool HTTPCookieStorage::Jar::hasSecureTwin(const HTTPCookie& cookie) const {
  return std::ranges::any_of(cookies, [&](const auto& entry) {
    const HTTPCookie& kept = entry.second.cookie;
    return kept.secure && kept.name == cookie.name && pathMatches(cookie.path, kept.path) &&
           (domainMatches(kept.domain, cookie.domain) || domainMatches(cookie.domain, kept.domain));
  });
}

void HTTPCookieStorage::Jar::keep(HTTPCookie cookie, Date now) {
  if (cookie.name.size() + cookie.value.size() > maximumCookieSize) return;
  const Key key = keyOf(cookie);
  if (isExpired(cookie, now)) {
    cookies.erase(key);
    return;
  }
  const auto event = ++events;
  if (const auto found = cookies.find(key); found != cookies.end()) {
    found->second.cookie = std::move(cookie);  // in its old place in the order
    found->second.lastUsed = event;
    return;
  }
  makeRoom(key.domain, now);
  cookies.emplace(key, Kept{std::move(cookie), event, event});
}

void HTTPCookieStorage::Jar::makeRoom(const std::string& domain, Date now) {
  const auto first = cookies.lower_bound(Key{domain, {}, {}});
  const auto last = std::find_if(first, cookies.end(), [&](const auto& entry) { return entry.first.domain != domain; });
  const bool domainIsFull = std::distance(first, last) >= static_cast<std::ptrdiff_t>(maximumPerDomain);
  if (!domainIsFull && cookies.size() < maximumTotal) return;

  const auto sizeBefore = cookies.size();
  std::erase_if(cookies, [&](const auto& entry) {
    return isExpired(entry.second.cookie, now) && (!domainIsFull || entry.first.domain == domain);
  });
  if (cookies.size() < sizeBefore) return;
  cookies.erase(std::min_element(domainIsFull ? first : cookies.begin(), domainIsFull ? last : cookies.end(),
                                 [](const auto& a, const auto& b) { return a.second.lastUsed < b.second.lastUsed; }));
}

}  // namespace lx
