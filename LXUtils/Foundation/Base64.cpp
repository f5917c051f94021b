#include "LXUtils/Foundation/Base64.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace lx {
namespace {

constexpr std::string_view standardAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view urlSafeAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string encode(std::span<const std::byte> bytes, std::string_view alphabet) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8U | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k <= count; ++k) text += alphabet[group >> (18U - 6U * k) & 0x3FU];
  }
  return text;
}

}  // namespace

std::string base64EncodedString(std::span<const std::byte> bytes) {
  std::string text = encode(bytes, standardAlphabet);
  text.append((4 - text.size() % 4) % 4, '=');
  return text;
}

std::string urlSafeBase64EncodedString(std::span<const std::byte> bytes) { return encode(bytes, urlSafeAlphabet); }

}  // namespace lx
