#pragma once

#include <string>
#include <string_view>

namespace lx {

/// The text with "?" for each character that would act on a terminal instead of being seen: controls (U+0000 to U+001F,
/// U+007F to U+009F), and characters that end a line or turn the direction of writing (U+2028 to U+202E, U+2066 to
/// U+2069). The result is one line.
std::string printable(std::string_view text);

}  // namespace lx
