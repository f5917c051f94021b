#include <algorithm>

#include "lx/Render/ItemNumbers.h"
#include "lx/Render/LineText.h"
#include "lx/Render/RenderForms.h"

namespace lx::tool {
namespace {

using namespace DeltaRenderUtils;
using ListType = Attributes::ListType;

std::string contentOf(const DeltaLines& lines, const Style& style, bool isHeading) {
  std::string content;
  eachPiece(lines, [&](const LinePiece& piece) {
    std::string text(piece.text);
    std::ranges::replace(text, '\t', ' ');
    text = printable(text);
    if (!piece.embed.empty()) text = style.dim("[" + printable(piece.embed) + "]");
    if (piece.is("code")) text = style.cyan(text);
    // Piece by piece, since the end of one style ends those around it.
    content += isHeading || piece.is("bold") ? style.bold(text) : text;
  });
  return content;
}

std::string markerOf(const LineInfo& line, const ListInfo& list, ItemNumbers& numbers) {
  constexpr std::string_view bullets[] = {"• ", "◦ ", "▪ "};
  const auto number = numbers.next(list);
  switch (typeOf(list)) {
    case ListType::ordered:
      return std::to_string(number) + ". ";
    case ListType::checklist:
      return isChecked(line) ? "[x] " : "[ ] ";
    case ListType::bullet:
      break;
  }
  return std::string(bullets[static_cast<std::size_t>(std::max<std::int64_t>(list.indent(), 0)) % std::size(bullets)]);
}

}  // namespace

std::string renderedText(const Delta& delta, const RenderInfo& renderInfo, const Style& style) {
  std::string text;
  ItemNumbers numbers;
  for (DeltaLines lines(delta); lines.next();) {
    const LineInfo& line = *renderInfo.lines.find(lines.index());
    const auto heading = line.lineType.heading();
    const auto content = contentOf(lines, style, heading.has_value());
    text.append(static_cast<std::size_t>(2 * std::clamp<std::int64_t>(line.indent(), 0, deepestIndent)), ' ');
    if (const auto item = line.lineType.listItem()) {
      text += style.cyan(markerOf(line, *item->info, numbers)) + content;
    } else if (heading) {
      const auto marks = static_cast<std::size_t>(std::min(heading->level, deepestHeading));
      text += style.dim(std::string(marks, '#')) + " " + content;
    } else {
      text += content;
    }
    text += '\n';
  }
  return text;
}

}  // namespace lx::tool
