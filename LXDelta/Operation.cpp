#include "LXDelta/Operation.h"

#include <algorithm>
#include <limits>

#include "LXUtils/Foundation/Overloaded.h"
#include "LXUtils/Foundation/UTF8.h"

namespace lx {

Content::Content(std::string_view text) {
  auto& shortText = std::get<ShortText>(value_);
  if (text.size() > shortText.bytes.size()) {
    value_.emplace<std::string>(text);
  } else {
    std::ranges::copy(text, shortText.bytes.begin());
    shortText.size = static_cast<std::uint8_t>(text.size());
  }
}

void Content::append(std::string_view text) {
  if (const auto* shortText = std::get_if<ShortText>(&value_)) value_ = std::string(shortText->view());
  std::get<std::string>(value_) += text;
}

std::int64_t Content::length() const {
  const auto own = text();
  return own ? static_cast<std::int64_t>(utf16Length(*own)) : 1;
}

bool operator==(const Content& a, const Content& b) {
  if (a.embed() && b.embed()) return *a.embed() == *b.embed();
  return a.text() == b.text();
}

std::int64_t Operation::length() const {
  return std::visit(Overloaded{[](const Insert& insert) { return insert.content.length(); },
                               [](const auto& other) { return other.length; }},
                    value);
}

std::int64_t addingLengths(std::int64_t a, std::int64_t b) {
  using Limits = std::numeric_limits<std::int64_t>;
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return a < 0 ? Limits::min() : Limits::max();
  return sum;
}

}  // namespace lx
