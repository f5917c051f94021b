#pragma once

#include <string>
#include <string_view>

namespace lx {

/// Text as it stands between tags or in a quoted attribute of an HTML page. Control characters other than the tabulator
/// become blanks, since a page cannot hold them.
std::string htmlEscaped(std::string_view text);

}  // namespace lx
