#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "LXUtils/Network/HTTPCookieStorage.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

/// The input is the URL of a response, a line feed, and the value of its Set-Cookie header.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto line = text.find('\n');
  const auto url = lx::URL::makeAbsolute(text.substr(0, line));
  if (!url || line == text.npos) return 0;
  const auto setCookie = text.substr(line + 1);
  lx::HTTPCookie::parseDate(setCookie);

  lx::HTTPCookieStorage jar;
  lx::HTTPHeaders headers;
  headers.add("Set-Cookie", std::string(setCookie));
  jar.storeFrom(*url, headers);
  for (const auto& cookie : jar.all()) {
    // What is sent back must not break out of its header, and a host never gets what it could not have set.
    require(cookie.value.find_first_of("\r\n;") == std::string::npos && !cookie.name.empty());
    require(cookie.name.size() + cookie.value.size() <= lx::HTTPCookieStorage::maximumCookieSize);
    require(cookie.domain.find('.') != std::string::npos || cookie.hostOnly);
    jar.deleteCookie(cookie);
  }
  require(jar.all().empty() && jar.cookiesFor(*url).empty());
  return 0;
}
