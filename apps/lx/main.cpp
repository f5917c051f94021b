#include <csignal>
#include <cstdio>
#include <new>
#include <system_error>

#include <fcntl.h>

#include "LXUtils/Logging/Logger.h"

#include "lx/CommandLine.h"
#include "lx/Hints.h"
#include "lx/SignalHold.h"
#include "lx/ToolError.h"

namespace lx::tool {
namespace {

// What is opened later must not become a standard stream: a log would be written into it.
void openStandardStreams() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
      const int opened = open("/dev/null", O_RDWR);
  }
}

Result<void> run(const Invocation& invocation, const Output& output) {
  try {
    return invocation.command(invocation.global, output);
  } catch (const std::bad_alloc&) {
    return fail(ToolError{ToolError::Kind::memory, "There is not enough memory"});
  } catch (const std::system_error& error) {
    return fail(ToolError{ToolError::Kind::system, "The system refuses: " + error.code().message()});
  }
}

int runCommandLine(int argc, char** argv) {
  const auto invocation = parseCommandLine(argc, argv);
  if (!invocation) return invocation.error();
  const auto& global = invocation->global;
  if (global.logLevel) Logging::setSink(std::make_shared<StandardErrorLogSink>(), *global.logLevel);
  const Output output(global.json, global.reveal);
  const auto done = run(*invocation, output);
  if (done) return 0;
  output.failure(done.error(), hintFor(done.error()));
  return 1;
}

}  // namespace
}  // namespace lx::tool

int main(int argc, char** argv) {
  lx::tool::openStandardStreams();
  // A reader that goes away, and a file that may not grow, are errors of the write.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  lx::tool::holdSignals();
  try {
    return lx::tool::runCommandLine(argc, argv);
  } catch (const std::exception&) {
    // Not even the error could be written: what is left needs no memory.
    std::fputs("lx: There is not enough memory (ToolError.memory)\n", stderr);
    return 1;
  }
}
