#pragma once

#include <compare>
#include <cstdint>

namespace lx {

/// A place in a text, counted in UTF-16 code units from its beginning.
struct IndexOffset {
  std::int64_t utf16Offset = 0;

  auto operator<=>(const IndexOffset&) const = default;
};

constexpr IndexOffset operator+(IndexOffset offset, std::int64_t units) { return {offset.utf16Offset + units}; }

}  // namespace lx
