#pragma once

#include <bit>
#include <cstddef>
#include <utility>
#include <vector>

#include "LXUtils/Foundation/LargeVector.h"

namespace lx {

/// Elements by index, to which others are added at the end without ever moving those that are there: for large ones
/// whose number is not known before. Each segment has four times the room of the one before it.
template <class Element>
class SegmentedVector {
 public:
  SegmentedVector() = default;
  SegmentedVector(const SegmentedVector& other) {
    for (std::size_t i = 0; i < other.size(); ++i) emplace_back(other[i]);
  }
  SegmentedVector(SegmentedVector&& other) noexcept { swap(other); }
  SegmentedVector& operator=(SegmentedVector other) noexcept {
    swap(other);
    return *this;
  }
  ~SegmentedVector() = default;

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }

  // `index` must be below size().
  const Element& operator[](std::size_t index) const { return segments_[segmentOf(index)][placeOf(index)]; }
  Element& operator[](std::size_t index) { return segments_[segmentOf(index)][placeOf(index)]; }

  template <class... Arguments>
  Element& emplace_back(Arguments&&... arguments) {
    if (segments_.empty() || segments_.back().size() == sizeOf(segments_.size() - 1)) {
      segments_.emplace_back().reserve(sizeOf(segments_.size() - 1));
    }
    ++size_;
    return segments_.back().emplace_back(std::forward<Arguments>(arguments)...);
  }

 private:
  void swap(SegmentedVector& other) noexcept {
    segments_.swap(other.segments_);
    std::swap(size_, other.size_);
  }

  static constexpr std::size_t firstSize = 64;

  static std::size_t sizeOf(std::size_t segment) { return firstSize << (2 * segment); }
  static std::size_t segmentOf(std::size_t index) {
    return (static_cast<std::size_t>(std::bit_width(3 * (index / firstSize) + 1)) - 1) / 2;
  }
  /// Those before it have firstSize * (1 + 4 + 16 + ...) elements.
  static std::size_t placeOf(std::size_t index) { return index - (sizeOf(segmentOf(index)) - firstSize) / 3; }

  std::vector<LargeVector<Element>> segments_;
  std::size_t size_ = 0;
};

}  // namespace lx
