#include "lx/Render/LineText.h"

namespace lx::tool {

bool LinePiece::is(const char* format) const {
  const auto found = attributes->values().find(format);
  const auto* flag = found == attributes->values().end() ? nullptr : std::get_if<bool>(&found->second.value);
  return flag && *flag;
}

void eachPiece(const DeltaLines& lines, const std::function<void(const LinePiece&)>& visit) {
  lines.eachPart([&](const Operation::Insert& insert, std::string_view text) {
    const Attributes* attributes = &insert.attributes;
    if (const auto* embed = insert.content.embed()) {
      visit({{}, embed->empty() ? std::string_view("embed") : std::string_view(embed->begin()->first), attributes});
      return;
    }
    // A line holds no separator but its last character; elsewhere lines end with two.
    if (text.ends_with(static_cast<char>(Delta::defaultLineSeparator))) {
      text.remove_suffix(1);
      if (text.ends_with('\r')) text.remove_suffix(1);
    }
    if (!text.empty()) visit({text, {}, attributes});
  });
}

}  // namespace lx::tool
