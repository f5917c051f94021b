#include "LXUtils/Foundation/PercentEncoding.h"

#include <charconv>

namespace lx {

std::string CharacterSet::characters() const {
  std::string members;
  for (int code = 0; code < 128; ++code) {
    if (const auto character = static_cast<char>(code); contains(character)) members += character;
  }
  return members;
}

std::string percentEncode(std::string_view text, const CharacterSet& allowed) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  result.reserve(text.size());
  for (const char character : text) {
    if (allowed.contains(character)) {
      result += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      result += {'%', digits[byte >> 4], digits[byte & 15]};
    }
  }
  return result;
}

std::optional<std::string> percentDecode(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result += text[i];
      continue;
    }
    const auto digits = text.substr(i + 1, 2);
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (digits.size() != 2 || error != std::errc() || end != digits.data() + 2) return std::nullopt;
    result += static_cast<char>(byte);
    i += 2;
  }
  return result;
}

}  // namespace lx
