#pragma once

#include <string>

#include "LXUtils/Foundation/Result.h"

namespace lx::tool {

/// The secret that an option names: the next line of standard input for "-", the contents of a file for "@FILE" without
/// a line end behind them, else the text itself. Errors: ToolError secret, if it cannot be read or is empty.
Result<std::string> readSecret(const std::string& given);

}  // namespace lx::tool
