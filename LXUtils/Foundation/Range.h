#pragma once

#include <concepts>

#include "LXUtils/Foundation/IndexOffset.h"

namespace lx {

/// The half-open range from `lowerBound` up to, without, `upperBound`.
template <class Bound>
struct Range {
  Bound lowerBound{};
  Bound upperBound{};

  /// Where no range applies. No range of a text equals it.
  static constexpr Range invalid()
    requires std::same_as<Bound, IndexOffset>
  {
    return {IndexOffset{-1}, IndexOffset{-1}};
  }

  constexpr bool isEmpty() const { return lowerBound >= upperBound; }
  constexpr bool contains(const Bound& value) const { return lowerBound <= value && value < upperBound; }
  /// Both hold a common value; an empty range overlaps none.
  constexpr bool overlaps(const Range& other) const {
    return !isEmpty() && !other.isEmpty() && lowerBound < other.upperBound && other.lowerBound < upperBound;
  }

  bool operator==(const Range&) const = default;
};

}  // namespace lx
