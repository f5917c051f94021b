#include "lx/Commands.h"

namespace lx::tool {

Result<void> runDemo(const Output&) { return {}; }

}  // namespace lx::tool
