#include <csignal>
#include <new>

#include "LXUtils/Logging/Logger.h"

#include "lx/CommandLine.h"
#include "lx/Hints.h"
#include "lx/ToolError.h"

namespace {

lx::Result<void> run(const lx::tool::Invocation& invocation, const lx::tool::Output& output) {
  using lx::tool::ToolError;
  try {
    return invocation.command(invocation.global, output);
  } catch (const std::bad_alloc&) {
    return lx::fail(ToolError{ToolError::Kind::memory, "There is not enough memory"});
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace lx;
  // A reader that goes away is seen where something is written.
  std::signal(SIGPIPE, SIG_IGN);
  const auto invocation = tool::parseCommandLine(argc, argv);
  if (!invocation) return invocation.error();
  const auto& global = invocation->global;
  if (global.logLevel) Logging::setSink(std::make_shared<StandardErrorLogSink>(), *global.logLevel);
  const tool::Output output(global.json, global.reveal);
  const auto done = run(*invocation, output);
  if (done) return 0;
  output.failure(done.error(), tool::hintFor(done.error()));
  return 1;
}
