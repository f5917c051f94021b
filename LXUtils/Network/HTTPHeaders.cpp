#include "LXUtils/Network/HTTPHeaders.h"

#include <algorithm>

namespace lx {
namespace {

constexpr char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

auto named(std::string_view name) {
  return [name](const HTTPHeaders::Field& field) { return equalIgnoringCase(field.first, name); };
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return x == y || lowered(x) == lowered(y); });
}

std::string_view rawValue(HTTPMethod method) {
  switch (method) {
    case HTTPMethod::get:
      return "GET";
    case HTTPMethod::post:
      return "POST";
    case HTTPMethod::put:
      return "PUT";
    case HTTPMethod::delete_:
      return "DELETE";
    case HTTPMethod::head:
      return "HEAD";
    case HTTPMethod::patch:
      return "PATCH";
  }
  return "GET";
}

void HTTPHeaders::set(std::string_view name, std::string value) {
  const auto first = std::find_if(fields_.begin(), fields_.end(), named(name));
  if (first == fields_.end()) {
    fields_.emplace_back(std::string(name), std::move(value));
    return;
  }
  first->second = std::move(value);
  fields_.erase(std::remove_if(first + 1, fields_.end(), named(name)), fields_.end());
}

void HTTPHeaders::add(std::string_view name, std::string value) {
  fields_.emplace_back(std::string(name), std::move(value));
}

void HTTPHeaders::attach(HTTPHeaders other) {
  // With room for one more, since a signed request gets its token next.
  fields_.reserve(fields_.size() + other.fields_.size() + 1);
  for (auto& [name, value] : other.fields_) set(name, std::move(value));
}

void HTTPHeaders::remove(std::string_view name) { std::erase_if(fields_, named(name)); }

std::optional<std::string_view> HTTPHeaders::value(std::string_view name) const {
  const auto found = std::find_if(fields_.begin(), fields_.end(), named(name));
  if (found == fields_.end()) return std::nullopt;
  return found->second;
}

std::vector<std::string_view> HTTPHeaders::values(HTTPHeaderName name) const {
  std::vector<std::string_view> found;
  for (const auto& field : fields_) {
    if (equalIgnoringCase(field.first, name.rawValue)) found.push_back(field.second);
  }
  return found;
}

}  // namespace lx
