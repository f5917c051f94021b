#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "LXUtils/Foundation/Result.h"
#include "LXUtils/Foundation/URL.h"

namespace lx {

inline std::string join(std::initializer_list<std::string_view> pieces) {
  std::string text;
  for (const auto piece : pieces) text += piece;
  return text;
}

/// "https://", the label, a dot and the domain, then `rest` as it is.
inline std::string https(std::string_view label, std::string_view domain, std::string_view rest = {}) {
  return join({"https://", label, ".", domain, rest});
}

/// Marks visits that come from a client.
inline constexpr std::string_view trackingQuery = "utm_medium=internal&utm_source=iOS";

/// Forms the URLs of one record. The record is written without a check at every URL; `finish` gives it away when all
/// could be formed, and the error otherwise.
class EnvironmentURLs {
 public:
  URL absolute(std::string_view text) { return take(URL::makeAbsolute(text)); }
  URL resolved(const URL& base, std::string_view reference) { return take(base.resolving(reference)); }

  template <class Record>
  Result<Record> finish(Record record) const {
    if (failed_) return fail(UnwrapError{"Missing URL"});
    return record;
  }

 private:
  URL take(Result<URL> url) {
    failed_ = failed_ || !url;
    return std::move(url).value_or(URL());
  }

  bool failed_ = false;
};

}  // namespace lx
