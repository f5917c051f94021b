#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "LXDelta/Delta.h"

namespace lx {

/// Walks the lines of a Delta by the rules of Delta::eachLine, without making a Delta of each. Copies go on from the
/// same line. The Delta must outlive the walk, unchanged.
class DeltaLines {
 public:
  /// A separator that is no Unicode scalar value ends no line.
  explicit DeltaLines(const Delta& delta, char32_t separator = Delta::defaultLineSeparator);

  /// Moves to the next line, at first to the first one; false when there is none.
  bool next();

  // Of the line that next() moved to:

  /// From 0.
  std::int64_t index() const { return index_; }
  /// Those of the operation that holds the separator; none where the line has no separator.
  const Attributes& attributes() const { return *attributes_; }
  /// What delta().changeLength() would be.
  std::int64_t changeLength() const;
  Delta delta() const;

  /// Calls `visit` with the operations' inserts that the line is made of, and of each text the part that belongs to it
  /// (an empty part for an embed).
  template <class Visit>
  void eachPart(Visit visit) const {
    for (std::size_t i = begin_.operation; i < operations_->size() && i <= end_.operation; ++i) {
      const auto& insert = *(*operations_)[i].asInsert();
      const auto text = insert.content.text();
      std::string_view part = text.value_or(std::string_view());
      if (i == end_.operation) part = part.substr(0, end_.offset);
      if (i == begin_.operation) part.remove_prefix(begin_.offset);
      if (!text || !part.empty()) visit(insert, part);
    }
  }

 private:
  struct Position {
    std::size_t operation = 0;
    std::size_t offset = 0;  // in the bytes of its text
  };

  bool nextInOtherText();
  /// The end of the first separator at `offset` or after it; 0 when there is none.
  std::size_t endOfLine(std::string_view text, std::size_t offset) const;

  const LargeVector<Operation>* operations_;
  std::array<char, 4> separator_{};
  std::size_t separatorSize_ = 0;
  std::int64_t index_ = -1;
  Position begin_;
  Position end_;
  std::string_view text_;  // that the separator at end_ is in; empty at the beginning and the end of the walk
  const Attributes* attributes_;
};

}  // namespace lx
