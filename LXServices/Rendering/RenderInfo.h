#pragma once

#include <cstdint>

#include "LXServices/Rendering/LinesInfo.h"
#include "LXUtils/Foundation/Range.h"

namespace lx::DeltaRenderUtils {

/// The lines of a document with the lists that they form.
struct RenderInfo {
  LinesInfo lines;
  Range<std::int64_t> linesRange;

  /// Without lines.
  static const RenderInfo& empty();
};

/// Equal lines in equally built lists, whichever objects those are. Takes time in proportion to the lines and lists.
bool operator==(const RenderInfo& a, const RenderInfo& b);

}  // namespace lx::DeltaRenderUtils
