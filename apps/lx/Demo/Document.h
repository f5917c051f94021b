#pragma once

#include "lx/Demo/Timeline.h"

namespace lx::tool {

/// The chapter of the tour about documents: from JSON to lines and lists, without the backend.
void showDocument(Timeline& timeline);

}  // namespace lx::tool
