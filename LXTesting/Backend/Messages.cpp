#include <algorithm>

#include "LXTesting/Backend/MessagesInternal.h"
#include "LXUtils/Foundation/PercentEncoding.h"

namespace lx::backend {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Calls `body` with each piece between separators.
template <class Body>
void forEachPiece(std::string_view text, char separator, const Body& body) {
  while (!text.empty()) {
    const auto end = std::min(text.find(separator), text.size());
    if (end > 0) body(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

/// A field of a form: "+" is a blank, and what is no escape stays as it is.
std::string decoded(std::string_view text) {
  std::string blanks(text);
  std::replace(blanks.begin(), blanks.end(), '+', ' ');
  return percentDecode(blanks).value_or(blanks);
}

}  // namespace

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lower);
  return result;
}

std::string_view ServerRequest::header(std::string_view name) const {
  const auto found =
      std::find_if(headers.begin(), headers.end(), [&](const auto& h) { return equalsIgnoringCase(h.first, name); });
  return found == headers.end() ? std::string_view() : std::string_view(found->second);
}

std::optional<std::string> ServerRequest::cookie(std::string_view name) const {
  std::optional<std::string> result;
  forEachPiece(header("Cookie"), ';', [&](std::string_view pair) {
    const auto equals = pair.find('=');
    if (!result && equals != std::string_view::npos && trimmed(pair.substr(0, equals)) == name) {
      result = std::string(trimmed(pair.substr(equals + 1)));
    }
  });
  return result;
}

std::optional<std::string> ServerRequest::bearerToken() const {
  constexpr std::string_view scheme = "Bearer ";
  const auto value = header("Authorization");
  if (value.size() <= scheme.size() || !equalsIgnoringCase(value.substr(0, scheme.size()), scheme)) return std::nullopt;
  return std::string(trimmed(value.substr(scheme.size())));
}

std::string ServerRequest::mediaType() const {
  const auto value = header("Content-Type");
  return lowercased(trimmed(value.substr(0, value.find(';'))));
}

FormFields formFields(std::string_view text) {
  FormFields fields;
  forEachPiece(text, '&', [&](std::string_view pair) {
    const auto equals = pair.find('=');
    const auto value = equals == std::string_view::npos ? std::string_view() : pair.substr(equals + 1);
    fields.emplace_back(decoded(pair.substr(0, equals)), decoded(value));
  });
  return fields;
}

std::optional<std::string> fieldValue(const FormFields& fields, std::string_view name) {
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const auto& field) { return field.first == name; });
  return found == fields.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace lx::backend
