#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// One name and its value in a query, both decoded. Without a value there is no "=" either.
struct URLQueryItem {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const URLQueryItem&) const = default;
};

/// The parts of a URL, to be changed and put together again. Parts whose name does not say "percentEncoded" are
/// decoded.
struct URLComponents {
  std::optional<std::string> scheme;
  std::optional<std::string> user;
  std::optional<std::string> password;
  std::optional<std::string> host;  ///< an IP literal stands in brackets
  std::optional<int> port;
  std::string percentEncodedPath;
  std::optional<std::string> percentEncodedQuery;
  std::optional<std::string> fragment;

  /// Nothing when `url` is the empty reference.
  static std::optional<URLComponents> make(const URL& url);

  /// The URL of the components; nothing when they form none: an invalid scheme, a port or a user without a host, a
  /// path that does not begin with a slash after a host, or an encoded part that would end elsewhere when read.
  std::optional<URL> url() const;

  /// The items between the query's "&"; empty without a query. "+" is not a blank. An item whose escapes are malformed
  /// is given as it stands.
  std::vector<URLQueryItem> queryItems() const;

  /// Replaces the query. Everything but RFC 3986's unreserved characters is encoded; no items leave no query.
  void setQueryItems(std::span<const URLQueryItem> items);

  /// Adds to the query; what is there already keeps its text.
  void appendQueryItems(std::span<const URLQueryItem> items);

  bool operator==(const URLComponents&) const = default;
};

}  // namespace lx
