#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lx {

/// True when the text is well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view text);

/// The bytes of the well-formed sequence that the text begins with; 0 when it begins with none.
std::size_t utf8SequenceLength(std::string_view text);

/// Appends the code point's sequence: 1 to 4 bytes. It must be at most U+10FFFF and no surrogate.
void appendUTF8(std::string& out, char32_t codePoint);

/// How many UTF-16 code units the text takes; for a text that is not UTF-8, some number no larger than its bytes
/// times 2.
std::size_t utf16Length(std::string_view text);

}  // namespace lx
