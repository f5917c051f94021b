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

std::size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  unsigned char next[3] = {};
  for (std::size_t k = 0; k < 3 && 1 + k < text.size(); ++k) next[k] = static_cast<unsigned char>(text[1 + k]);
  return sequenceLength(lead, next);
}

bool isValidUTF8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

void appendUTF8(std::string& out, char32_t codePoint) {
  const auto tail = [codePoint](unsigned shift) { return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU)); };
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xC0U | (codePoint >> 6U));
    out += tail(0);
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xE0U | (codePoint >> 12U));
    out += tail(6);
    out += tail(0);
  } else {
    out += static_cast<char>(0xF0U | (codePoint >> 18U));
    out += tail(12);
    out += tail(6);
    out += tail(0);
  }
}

std::size_t utf16Length(std::string_view text) {
  // Each sequence is one unit, those of four bytes are two. Sums of a block fit into a byte, which lets the compiler
  // count many bytes at once.
  const auto units = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return static_cast<unsigned char>(((byte & 0xC0U) != 0x80U) + (byte >= 0xF0U));
  };
  constexpr std::size_t block = 64;
  std::size_t length = 0;
  for (; text.size() >= block; text.remove_prefix(block)) {
    unsigned char sum = 0;
    for (std::size_t i = 0; i < block; ++i) sum = static_cast<unsigned char>(sum + units(text[i]));
    length += sum;
  }
  for (const char c : text) length += units(c);
  return length;
}

}  // namespace lx
