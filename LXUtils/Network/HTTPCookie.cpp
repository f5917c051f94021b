#include "LXUtils/Network/HTTPCookie.h"

#include <algorithm>
#include <charconv>

#include "LXUtils/Network/HTTPCookieInternal.h"
#include "LXUtils/Network/HTTPHeaders.h"
#include "LXUtils/Network/RequestRulesInternal.h"

namespace lx {
namespace {

constexpr auto npos = std::string_view::npos;

/// The text before the first `separator`, which is taken off `rest` with it.
std::string_view takeUntil(std::string_view& rest, char separator) {
  const auto end = rest.find(separator);
  const auto part = rest.substr(0, end);
  rest = end == npos ? std::string_view() : rest.substr(end + 1);
  return part;
}

bool isControl(char c) { return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// RFC 6265, section 5.1.4.
std::string defaultPath(const URL& url) {
  const auto path = url.path();
  const auto lastSlash = path.rfind('/');
  if (!path.starts_with('/') || lastSlash == 0) return "/";
  return std::string(path.substr(0, lastSlash));
}

/// Section 5.2.2; nothing for a value to be ignored. A negative or zero age is any time in the past.
std::optional<Date> expiryAfter(std::string_view maxAge, Date now) {
  if (maxAge.empty() || !std::ranges::all_of(maxAge.substr(maxAge.front() == '-' ? 1 : 0), isDigit))
    return std::nullopt;
  constexpr std::int64_t longest = 10'000'000'000;  // three hundred years, which no clock overflows
  std::int64_t seconds = 0;
  const auto [end, error] = std::from_chars(maxAge.data(), maxAge.data() + maxAge.size(), seconds);
  if (error == std::errc::result_out_of_range) seconds = maxAge.front() == '-' ? 0 : longest;
  if (error == std::errc::invalid_argument) return std::nullopt;
  if (seconds <= 0) return Date::min();
  return now + std::chrono::seconds(std::min(seconds, longest));
}

}  // namespace

std::string canonicalHost(std::string_view host) {
  std::string text(host);
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

std::optional<HTTPCookie> HTTPCookie::parse(std::string_view setCookie, const URL& url, Date now) {
  if (std::ranges::any_of(setCookie, isControl)) return std::nullopt;
  auto pair = takeUntil(setCookie, ';');
  if (pair.find('=') == npos) return std::nullopt;
  HTTPCookie cookie;
  cookie.name = trimmedFieldValue(takeUntil(pair, '='));
  cookie.value = trimmedFieldValue(pair);
  if (cookie.name.empty()) return std::nullopt;

  std::string_view path;
  std::optional<Date> maxAge;
  while (!setCookie.empty()) {
    auto attribute = takeUntil(setCookie, ';');
    const auto name = trimmedFieldValue(takeUntil(attribute, '='));
    auto value = trimmedFieldValue(attribute);
    if (equalIgnoringCase(name, "Expires")) {
      if (const auto date = parseDate(value)) cookie.expires = date;
    } else if (equalIgnoringCase(name, "Max-Age")) {
      if (const auto date = expiryAfter(value, now)) maxAge = date;
    } else if (equalIgnoringCase(name, "Domain")) {
      if (value.starts_with('.')) value.remove_prefix(1);
      if (!value.empty()) cookie.domain = canonicalHost(value);
    } else if (equalIgnoringCase(name, "Path")) {
      path = value;
    } else if (equalIgnoringCase(name, "Secure")) {
      cookie.secure = true;
    } else if (equalIgnoringCase(name, "HttpOnly")) {
      cookie.httpOnly = true;
    }
  }
  if (maxAge) cookie.expires = maxAge;
  cookie.hostOnly = cookie.domain.empty();
  if (cookie.hostOnly) cookie.domain = canonicalHost(url.host());
  cookie.path = path.starts_with('/') ? std::string(path) : defaultPath(url);
  return cookie;
}

}  // namespace lx
