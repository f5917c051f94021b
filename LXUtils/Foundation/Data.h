#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lx {

/// Owned bytes.
using Data = std::vector<std::byte>;

/// The bytes of a text, as they stand.
inline Data dataOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return Data(bytes.begin(), bytes.end());
}

/// A view of bytes as text, without a check of its encoding. Valid as long as the bytes are.
inline std::string_view textView(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace lx
