#include "LXUtils/Foundation/URLQueryParameters.h"

#include <algorithm>

#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Foundation/URLInternal.h"

namespace lx {

URLQueryParameters::URLQueryParameters(const URL& url) {
  const auto query = url.query();
  if (!query || query->empty()) return;
  for (std::string_view rest = *query;;) {
    const auto end = rest.find('&');
    const auto piece = rest.substr(0, end);
    const auto equals = piece.find('=');
    const auto value = equals == piece.npos ? std::string_view() : piece.substr(equals + 1);
    // The escapes of a URL's query are well-formed, so that decoding never fails here.
    parameters_.emplace_back(percentDecode(piece.substr(0, equals)).value_or(""), percentDecode(value).value_or(""),
                             std::string(piece));
    if (end == rest.npos) return;
    rest.remove_prefix(end + 1);
  }
}

URLQueryParameters::Parameter URLQueryParameters::make(std::string_view value, std::string_view name) {
  return {std::string(name), std::string(value),
          percentEncode(name, CharacterSet::unreserved) + "=" + percentEncode(value, CharacterSet::unreserved)};
}

void URLQueryParameters::addValue(std::string_view value, std::string_view name) {
  parameters_.push_back(make(value, name));
}

void URLQueryParameters::setValue(std::string_view value, std::string_view name) {
  const auto first = std::ranges::find(parameters_, name, &Parameter::name);
  if (first == parameters_.end()) return addValue(value, name);
  *first = make(value, name);
  const auto others = std::ranges::remove(first + 1, parameters_.end(), name, &Parameter::name);
  parameters_.erase(others.begin(), others.end());
}

std::vector<std::string> URLQueryParameters::values(std::string_view name) const {
  std::vector<std::string> values;
  for (const auto& parameter : parameters_) {
    if (parameter.name == name) values.push_back(parameter.value);
  }
  return values;
}

std::optional<std::string> URLQueryParameters::first(std::string_view name) const {
  const auto found = std::ranges::find(parameters_, name, &Parameter::name);
  return found == parameters_.end() ? std::nullopt : std::optional(found->value);
}

URL URLQueryParameters::applied(const URL& url) const {
  std::string query;
  for (const auto& parameter : parameters_) {
    if (&parameter != parameters_.data()) query += '&';
    query += parameter.text;
  }
  URLParts parts = splitURL(url.string());
  parts.query = parameters_.empty() ? std::nullopt : std::optional<std::string_view>(query);
  return URL::split(parts.compose());
}

}  // namespace lx
