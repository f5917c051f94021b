#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LXUtils/Network/HTTPVocabulary.h"

namespace lx {

/// Header fields in their order. Names are compared without regard to letter case.
class HTTPHeaders {
 public:
  using Field = std::pair<std::string, std::string>;

  /// Puts `value` in the place of all fields of that name.
  void set(HTTPHeaderName name, std::string value) { set(name.rawValue, std::move(value)); }
  void set(std::string_view name, std::string value);

  /// Adds a field, also where there is one of that name.
  void add(std::string_view name, std::string value);

  /// Sets every field of `other`; those win over fields of the same name that are here.
  void attach(HTTPHeaders other);

  void remove(std::string_view name);

  /// The value of the first field of that name.
  std::optional<std::string_view> value(HTTPHeaderName name) const { return value(name.rawValue); }
  std::optional<std::string_view> value(std::string_view name) const;

  std::vector<std::string_view> values(HTTPHeaderName name) const;

  const std::vector<Field>& fields() const { return fields_; }

  bool operator==(const HTTPHeaders&) const = default;

 private:
  std::vector<Field> fields_;
};

/// True when the texts differ by no more than the case of ASCII letters.
bool equalIgnoringCase(std::string_view a, std::string_view b);

}  // namespace lx
