#include "LXUtils/Foundation/PrintableText.h"

#include <algorithm>
#include <cstddef>

namespace lx {
namespace {

// The size in bytes of the acting character that the text begins with; 0 if it begins with any other.
std::size_t actingSize(std::string_view text) {
  const auto byte = [text](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
  if (byte(0) < 0x20 || byte(0) == 0x7f) return 1;
  if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) <= 0x9F) return 2;                 // U+0080 to U+009F
  const bool turnsOrEnds = (byte(1) == 0x80 && byte(2) >= 0xA8 && byte(2) <= 0xAE) ||  // U+2028 to U+202E
                           (byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9);    // U+2066 to U+2069
  return byte(0) == 0xE2 && turnsOrEnds ? 3 : 0;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto acting = actingSize(text);
    result += acting == 0 ? text.front() : '?';
    text.remove_prefix(std::max<std::size_t>(acting, 1));
  }
  return result;
}

}  // namespace lx
