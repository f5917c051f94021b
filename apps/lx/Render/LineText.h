#pragma once

#include <functional>
#include <string_view>

#include "LXDelta/DeltaLines.h"

namespace lx::tool {

/// What a line is made of: a run of text, or an embed under the name of its kind.
struct LinePiece {
  std::string_view text;
  std::string_view embed;  ///< empty for text
  const Attributes* attributes = nullptr;

  /// Whether a format such as "bold" is on.
  bool is(const char* format) const;
};

/// Calls `visit` for each piece of the line that `lines` stands at, without the separator.
void eachPiece(const DeltaLines& lines, const std::function<void(const LinePiece&)>& visit);

}  // namespace lx::tool
