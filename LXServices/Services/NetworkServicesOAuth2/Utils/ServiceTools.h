#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LXUtils/Foundation/AnyJSON.h"
#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

/// Writes values into the query of a URL, with brackets for what they are made of. Any thread.
struct ServiceTools {
  using QueryPair = std::pair<std::string, std::string>;

  /// What stands in a query as it is; all else is percent-encoded. At first letters, digits and `!'()*-._`.
  static CharacterSet uriComponentAllowedChars();
  static void setURIComponentAllowedChars(CharacterSet characters);

  /// Nothing for text that is not UTF-8.
  static std::optional<std::string> encodeURIComponent(std::string_view string);

  /// The pairs of a value: an object's under "key[member]", an array's under "key[]", and any other value's text.
  static std::vector<QueryPair> queryComponents(const std::string& key, const AnyJSON& value);

  /// "key=value" for each pair, encoded and joined by "&". Nothing when a part cannot be encoded.
  static std::optional<std::string> encodeQueryData(const std::vector<QueryPair>& pairs);

  /// The URL with the parameters after whatever its query holds. Nothing when a part cannot be encoded.
  static std::optional<URL> addQuery(const URL& url, const std::map<std::string, AnyJSON>& parameters);
};

}  // namespace lx
