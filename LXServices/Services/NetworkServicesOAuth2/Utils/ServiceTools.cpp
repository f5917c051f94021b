#include "LXServices/Services/NetworkServicesOAuth2/Utils/ServiceTools.h"

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/Overloaded.h"
#include "LXUtils/Foundation/URLComponents.h"
#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

Protected<CharacterSet>& allowedCharacters() {
  static Protected<CharacterSet> characters(
      CharacterSet("!'()*-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz"));
  return characters;
}

void append(std::vector<ServiceTools::QueryPair>& pairs, const std::string& key, const AnyJSON& value) {
  std::visit(Overloaded{
                 [&](const AnyJSON::Object& object) {
                   for (const auto& [name, member] : object) append(pairs, key + "[" + name + "]", member);
                 },
                 [&](const AnyJSON::Array& array) {
                   for (const auto& element : array) append(pairs, key + "[]", element);
                 },
                 [&](const std::string& text) { pairs.emplace_back(key, text); },
                 // null, booleans and numbers read the same in a query as in JSON
                 [&](const auto&) { pairs.emplace_back(key, encodeJSONText(value).value_or("")); },
             },
             value.value);
}

}  // namespace

CharacterSet ServiceTools::uriComponentAllowedChars() {
  return allowedCharacters().withLock([](const CharacterSet& current) { return current; });
}

void ServiceTools::setURIComponentAllowedChars(CharacterSet characters) {
  allowedCharacters().withLock([&](CharacterSet& current) { current = characters; });
}

std::optional<std::string> ServiceTools::encodeURIComponent(std::string_view string) {
  if (!isValidUTF8(string)) return std::nullopt;
  return percentEncode(string, uriComponentAllowedChars());
}

std::vector<ServiceTools::QueryPair> ServiceTools::queryComponents(const std::string& key, const AnyJSON& value) {
  std::vector<QueryPair> pairs;
  append(pairs, key, value);
  return pairs;
}

std::optional<std::string> ServiceTools::encodeQueryData(const std::vector<QueryPair>& pairs) {
  std::string query;
  for (const auto& [key, value] : pairs) {
    const auto encodedKey = encodeURIComponent(key);
    const auto encodedValue = encodeURIComponent(value);
    if (!encodedKey || !encodedValue) return std::nullopt;
    if (!query.empty()) query += "&";
    query.append(*encodedKey).append("=").append(*encodedValue);
  }
  return query;
}

std::optional<URL> ServiceTools::addQuery(const URL& url, const std::map<std::string, AnyJSON>& parameters) {
  auto components = URLComponents::make(url);
  if (!components) return std::nullopt;
  std::vector<QueryPair> pairs;
  for (const auto& [key, value] : parameters) append(pairs, key, value);
  const auto query = encodeQueryData(pairs);
  if (!query) return std::nullopt;
  if (query->empty()) return url;
  auto& existing = components->percentEncodedQuery;
  existing = existing && !existing->empty() ? *existing + "&" + *query : *query;
  return components->url();
}

}  // namespace lx
