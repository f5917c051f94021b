#include "LXUtils/Network/RequestRulesInternal.h"

#include "LXUtils/Foundation/PercentEncoding.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {
namespace {

// RFC 9110, section 5.6.2.
constexpr CharacterSet tokenCharacters{"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!#$%&'*+-.^_`|~"};

}  // namespace

bool isSendable(const URL& url) {
  if (!equalIgnoringCase(url.scheme(), "https") && !equalIgnoringCase(url.scheme(), "http")) return false;
  return !url.host().empty() && !url.user();
}

bool isFieldName(std::string_view text) { return !text.empty() && tokenCharacters.containsAll(text); }

// Three searches: each runs over whole words, unlike one that compares every character three times.
bool isFieldValue(std::string_view text) {
  return !text.contains('\r') && !text.contains('\n') && !text.contains('\0');
}

bool isFramingField(std::string_view name) {
  for (const std::string_view framing : {"Content-Length", "Transfer-Encoding", "Expect"}) {
    if (equalIgnoringCase(name, framing)) return true;
  }
  return false;
}

std::string_view trimmedFieldValue(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace lx
