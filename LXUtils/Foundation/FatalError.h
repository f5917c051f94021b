#pragma once

#include <string_view>

namespace lx {

/// Writes `message` to standard error and ends the process. For programming and configuration errors alone.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace lx
