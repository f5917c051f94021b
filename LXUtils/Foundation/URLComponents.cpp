#include "LXUtils/Foundation/URLComponents.h"

#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Foundation/URLInternal.h"

namespace lx {
namespace {

std::string decoded(std::string_view text) { return percentDecode(text).value_or(std::string(text)); }

std::optional<std::string> decoded(std::optional<std::string_view> text) {
  return text ? std::optional(decoded(*text)) : std::nullopt;
}

std::string encodedHost(const std::string& host) {
  const bool literal = host.starts_with('[') && host.ends_with(']');
  return percentEncode(host, literal ? CharacterSet::urlHostAllowed : CharacterSet::urlUserAllowed);
}

std::string encoded(std::span<const URLQueryItem> items) {
  std::string query;
  for (const auto& item : items) {
    if (&item != items.data()) query += '&';
    query += percentEncode(item.name, CharacterSet::unreserved);
    if (item.value) query.append("=").append(percentEncode(*item.value, CharacterSet::unreserved));
  }
  return query;
}

}  // namespace

std::optional<URLComponents> URLComponents::make(const URL& url) {
  if (url.string().empty()) return std::nullopt;
  URLComponents components;
  if (url.isAbsolute()) components.scheme = url.scheme();
  components.user = decoded(url.user());
  components.password = decoded(url.password());
  if (url.hasAuthority()) components.host = decoded(url.host());
  components.port = url.port();
  components.percentEncodedPath = url.path();
  components.percentEncodedQuery = url.query();
  components.fragment = decoded(url.fragment());
  return components;
}

std::optional<URL> URLComponents::url() const {
  if (!host && (user || password || port)) return std::nullopt;
  URLParts parts{
      .scheme = scheme, .authority = {}, .path = percentEncodedPath, .query = percentEncodedQuery, .fragment = {}};
  std::string authority;
  if (host) {
    if (user || password) {
      authority = percentEncode(user.value_or(""), CharacterSet::urlUserAllowed);
      if (password) authority.append(":").append(percentEncode(*password, CharacterSet::urlUserAllowed));
      authority += '@';
    }
    authority += encodedHost(*host);
    if (port) authority.append(":").append(std::to_string(*port));
    parts.authority = authority;
  }
  std::string encodedFragment;
  if (fragment) {
    encodedFragment = percentEncode(*fragment, CharacterSet::urlQueryAllowed);
    parts.fragment = encodedFragment;
  }
  auto url = URL::make(parts.compose());
  // Read again, each part must be what it was: a path that holds "?", for example, would have become a query.
  if (!url || url->scheme() != scheme.value_or("") || url->hasAuthority() != host.has_value() ||
      url->path() != percentEncodedPath || url->query() != percentEncodedQuery || url->port() != port) {
    return std::nullopt;
  }
  return *std::move(url);
}

std::vector<URLQueryItem> URLComponents::queryItems() const {
  std::vector<URLQueryItem> items;
  if (!percentEncodedQuery || percentEncodedQuery->empty()) return items;
  for (std::string_view rest = *percentEncodedQuery;;) {
    const auto end = rest.find('&');
    const auto piece = rest.substr(0, end);
    const auto equals = piece.find('=');
    auto& item = items.emplace_back(decoded(piece.substr(0, equals)), std::nullopt);
    if (equals != piece.npos) item.value = decoded(piece.substr(equals + 1));
    if (end == rest.npos) return items;
    rest.remove_prefix(end + 1);
  }
}

void URLComponents::setQueryItems(std::span<const URLQueryItem> items) {
  percentEncodedQuery.reset();
  appendQueryItems(items);
}

void URLComponents::appendQueryItems(std::span<const URLQueryItem> items) {
  if (items.empty()) return;
  const bool first = percentEncodedQuery.value_or("").empty();
  percentEncodedQuery = percentEncodedQuery.value_or("") + (first ? "" : "&") + encoded(items);
}

}  // namespace lx
