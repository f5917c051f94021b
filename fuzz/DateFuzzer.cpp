#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "LXUtils/Foundation/Date.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

/// The input is read as a date in each form, and its first bytes as an instant and a number of seconds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto date = lx::parseTimestamp(text)) require(lx::formatTimestamp(*date) == text);
  if (const auto date = lx::parseHTTPDate(text)) require(lx::parseHTTPDate(lx::formatHTTPDate(*date)) == date);

  std::int64_t numbers[2] = {};
  if (size < sizeof numbers) return 0;
  std::memcpy(numbers, data, sizeof numbers);
  const lx::Date date{std::chrono::microseconds(numbers[0])};
  require(lx::rfc3339(date).ends_with('Z'));
  const lx::Date sum = lx::addingSeconds(date, numbers[1]);
  require(numbers[1] < 0 ? sum <= date : sum >= date);
  return 0;
}
