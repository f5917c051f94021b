#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "LXUtils/Foundation/URL.h"

namespace lx {

/// The parameters of a query in their order. Those that were read from a URL are written back byte for byte; new ones
/// are encoded but for RFC 3986's unreserved characters. "+" is not a blank.
class URLQueryParameters {
 public:
  struct KnownParameters {
    static constexpr std::string_view accessToken = "access_token";
  };

  URLQueryParameters() = default;

  /// The parameters of the URL's query.
  explicit URLQueryParameters(const URL& url);

  bool isEmpty() const { return parameters_.empty(); }

  /// Adds a parameter at the end, beside others of the same name.
  void addValue(std::string_view value, std::string_view name);

  /// Leaves one parameter of the name, at the place of the first of them or else at the end.
  void setValue(std::string_view value, std::string_view name);

  /// The decoded values of a name, in their order; a parameter without "=" has the empty value.
  std::vector<std::string> values(std::string_view name) const;
  std::optional<std::string> first(std::string_view name) const;

  /// The URL with these parameters as its query, or without a query when there are none.
  URL applied(const URL& url) const;

 private:
  struct Parameter {
    std::string name;   ///< decoded
    std::string value;  ///< decoded
    std::string text;   ///< as it stands in the query
  };

  static Parameter make(std::string_view value, std::string_view name);

  std::vector<Parameter> parameters_;
};

}  // namespace lx
