#pragma once

#include "LXDelta/Delta.h"
#include "LXServices/Rendering/RenderInfo.h"

namespace lx::DeltaRenderUtils {

/// Splits a document into lines and the lists that they form. Takes time in proportion to the document; it is pure
/// computation on the caller's thread.
RenderInfo buildRenderInfo(const Delta& delta);

}  // namespace lx::DeltaRenderUtils
