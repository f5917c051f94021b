// From the JSON text of a Delta document to its render info: DeltaBenchmark FILE prints one JSON object. The figures to
// hold: at most 40 ns a plain line and 250 ns a styled one. benchmarks/delta.sh compares with the JavaScript reference.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

#include "LXServices/Rendering/DeltaRenderUtils.h"
#include "LXUtils/System/FileManager.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

/// How much of this program was in memory at once so far, in KiB.
long peakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

/// How many lines the document has; freeing it counts as well.
std::size_t render(std::string_view json) {
  const auto delta = lx::Delta::fromJSON(json);
  if (!delta) std::abort();
  return lx::DeltaRenderUtils::buildRenderInfo(*delta).lines.size();
}

}  // namespace

int main(int argc, char** argv) {
  const auto file = lx::readFile(argc > 1 ? argv[1] : "", std::size_t{1} << 32U);
  if (!file) {
    std::fprintf(stderr, "%s\n", file.error().description().c_str());
    return 1;
  }
  const auto json = lx::textView(*file);
  const long before = peakMemory();
  const std::size_t lines = render(json);
  const long added = peakMemory() - before;

  std::vector<double> times;
  const auto end = SteadyClock::now() + std::chrono::seconds(2);
  do {
    const auto begin = SteadyClock::now();
    render(json);
    times.push_back(std::chrono::duration<double, std::nano>(SteadyClock::now() - begin).count());
  } while (SteadyClock::now() < end || times.size() < 3);
  std::printf("{\"nanoseconds\":%.0f,\"lines\":%zu,\"bytes\":%zu,\"peakKiB\":%ld}\n", *std::ranges::min_element(times),
              lines, json.size(), added);
}
