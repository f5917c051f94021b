#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Network/HTTPCookie.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {

/// A cookie jar in memory (RFC 6265, section 5.3), with the public suffixes under which no cookie may be set for all,
/// and the rules of the name prefixes `__Secure-` and `__Host-`. Any thread.
class HTTPCookieStorage {
 public:
  static constexpr std::size_t maximumCookieSize = 4096;  ///< name and value, in bytes; longer ones are ignored
  static constexpr std::size_t maximumPerDomain = 64;     ///< beyond it, the least recently used go
  static constexpr std::size_t maximumTotal = 3000;

  explicit HTTPCookieStorage(std::shared_ptr<Clock> clock = Clock::system());

  /// The jar of the process.
  static const std::shared_ptr<HTTPCookieStorage>& shared();

  /// Keeps the cookies of the Set-Cookie headers of a response from `url`, as far as that host may set them. One that
  /// has expired already takes the kept one of its name, domain and path away.
  void storeFrom(const URL& url, const HTTPHeaders& headers);

  /// Keeps `cookie`, in the place of one of its name, domain and path.
  void setCookie(HTTPCookie cookie);

  /// The cookies that a request to `url` is to carry: longer paths first, then older ones first (section 5.4).
  std::vector<HTTPCookie> cookiesFor(const URL& url);

  /// `cookiesFor` as the value of a Cookie header; empty when there are none.
  std::string cookieHeaderFor(const URL& url);

  /// All that have not expired, by domain, path and name.
  std::vector<HTTPCookie> all() const;

  /// Takes away the kept cookie of that name, domain and path.
  void deleteCookie(const HTTPCookie& cookie);

 private:
  struct Kept {
    HTTPCookie cookie;
    std::uint64_t created = 0;  // places in the order of events, which unlike times are never equal
    std::uint64_t lastUsed = 0;
  };
  struct Key {
    std::string domain, path, name;
    std::strong_ordering operator<=>(const Key&) const = default;
  };
  struct Jar {
    std::map<Key, Kept> cookies;
    std::uint64_t events = 0;

    bool hasSecureTwin(const HTTPCookie& cookie) const;
    void keep(HTTPCookie cookie, Date now);
    void makeRoom(const std::string& domain, Date now);
  };

  static Key keyOf(const HTTPCookie& cookie) { return {cookie.domain, cookie.path, cookie.name}; }

  std::shared_ptr<Clock> clock_;
  Protected<Jar> jar_;
};

}  // namespace lx
