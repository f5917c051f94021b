#include "LXUtils/Foundation/UTF8.h"

#include <cstddef>

namespace lx {
namespace {

/// The length of the well-formed sequence that begins with `lead`, given the three bytes that follow (0 for none);
/// 0 when there is none. The bounds of the second byte rule out overlong forms, surrogates and what lies above
/// U+10FFFF.
std::size_t sequenceLength(unsigned char lead, const unsigned char* next) {
  const auto isTail = [next](std::size_t i) { return (next[i] & 0xC0U) == 0x80U; };
  if (lead >= 0xC2 && lead <= 0xDF) return isTail(0) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
    return next[0] >= low && next[0] <= high && isTail(1) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
    return next[0] >= low && next[0] <= high && isTail(1) && isTail(2) ? 4 : 0;
  }
  return 0;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      ++i;
      continue;
    }
    unsigned char next[3] = {};
    for (std::size_t k = 0; k < 3 && i + 1 + k < text.size(); ++k)
      next[k] = static_cast<unsigned char>(text[i + 1 + k]);
    const std::size_t length = sequenceLength(lead, next);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

}  // namespace lx
