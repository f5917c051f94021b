#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "LXServices/Rendering/LineInfo.h"
#include "LXUtils/Foundation/SegmentedVector.h"

namespace lx::DeltaRenderUtils {

/// A map from the indices 0, 1, 2, ... of lines to what is known of them, numbered without gaps.
class LinesInfo {
 public:
  /// An entry as an iterator shows it: `for (const auto& [index, line] : lines)`.
  struct Entry {
    std::int64_t index;
    const LineInfo& line;
  };

  class Iterator {
   public:
    Iterator(const SegmentedVector<LineInfo>& lines, std::size_t index) : lines_(&lines), index_(index) {}
    Entry operator*() const { return {static_cast<std::int64_t>(index_), (*lines_)[index_]}; }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    const SegmentedVector<LineInfo>* lines_;
    std::size_t index_;
  };

  bool empty() const { return lines_.empty(); }
  std::size_t size() const { return lines_.size(); }
  Iterator begin() const { return {lines_, 0}; }
  Iterator end() const { return {lines_, lines_.size()}; }

  /// None for an index without a line.
  const LineInfo* find(std::int64_t index) const {
    return index >= 0 && static_cast<std::size_t>(index) < lines_.size() ? &lines_[static_cast<std::size_t>(index)]
                                                                         : nullptr;
  }

  /// Notes what a line is. `index` is that of a known line, or the one after the last; for others nothing is noted.
  void insertOrAssign(std::int64_t index, LineInfo line) {
    const auto place = static_cast<std::size_t>(index);
    if (place == lines_.size()) {
      lines_.emplace_back(std::move(line));
    } else if (place < lines_.size()) {
      lines_[place] = std::move(line);
    }
  }

 private:
  SegmentedVector<LineInfo> lines_;
};

}  // namespace lx::DeltaRenderUtils
