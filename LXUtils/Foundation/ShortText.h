#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace lx {

/// A text kept without memory of its own: most runs of text are short.
struct ShortText {
  static constexpr std::size_t capacity = 31;

  std::array<char, capacity> bytes{};
  std::uint8_t size = 0;

  std::string_view view() const { return {bytes.data(), size}; }
};

}  // namespace lx
