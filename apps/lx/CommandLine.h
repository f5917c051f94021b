#pragma once

#include <expected>
#include <functional>

#include "LXUtils/Foundation/Result.h"

#include "lx/GlobalOptions.h"
#include "lx/Output.h"

namespace lx::tool {

/// What a command line asks for.
struct Invocation {
  GlobalOptions global;
  std::function<Result<void>(const GlobalOptions&, const Output&)> command;
};

/// Reads the command line and LX_ variables of the environment. Where there is nothing to run, because help was asked
/// for (and given) or because the command line is wrong (and that was told), the exit status.
std::expected<Invocation, int> parseCommandLine(int argc, const char* const* argv);

}  // namespace lx::tool
