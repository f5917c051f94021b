#pragma once

#include <string_view>

namespace lx {

/// True when the text is well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view text);

}  // namespace lx
