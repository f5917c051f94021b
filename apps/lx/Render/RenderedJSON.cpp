#include "LXServices/Rendering/ListNumbering.h"

#include "lx/Render/RenderForms.h"

namespace lx {
namespace {

using namespace DeltaRenderUtils;

void writeNumber(JSONWriter& writer, std::string_view key, const ListNumbering& numbers, const ListInfo* list) {
  writer.key(key);
  if (const auto number = numbers.number(list)) {
    writer.integer(static_cast<std::int64_t>(*number));
  } else {
    writer.null();
  }
}

void writeInteger(JSONWriter& writer, std::string_view key, std::int64_t value) {
  writer.key(key);
  writer.integer(value);
}

std::string_view nameOf(Attributes::ListType type) {
  switch (type) {
    case Attributes::ListType::ordered:
      return "ordered";
    case Attributes::ListType::bullet:
      return "bullet";
    case Attributes::ListType::checklist:
      break;
  }
  return "checklist";
}

void write(JSONWriter& writer, std::int64_t index, const LineInfo& line, const ListNumbering& numbers) {
  const auto heading = line.lineType.heading();
  const auto item = line.lineType.listItem();
  writer.beginObject();
  writeInteger(writer, "index", index);
  writer.key("type");
  writer.string(heading ? "heading" : item ? "listItem" : "body");
  writeInteger(writer, "indent", line.indent());
  writer.key("attributes");
  encodeJSON(writer, line.attributes);
  if (heading) writeInteger(writer, "level", heading->level);
  if (item) {
    writeNumber(writer, "list", numbers, item->info.get());
    writeInteger(writer, "indexInList", item->indexInList);
  }
  writer.endObject();
}

void write(JSONWriter& writer, std::size_t number, const ListInfo& list, const ListNumbering& numbers) {
  writer.beginObject();
  writeInteger(writer, "id", static_cast<std::int64_t>(number));
  writeInteger(writer, "indent", list.indent());
  writeNumber(writer, "parent", numbers, list.parentList().get());
  writer.key("items");
  writer.beginArray();
  for (const auto& item : list.items()) {
    writer.beginObject();
    writer.key("type");
    if (item.type) {
      writer.string(nameOf(*item.type));
    } else {
      writer.null();
    }
    writeNumber(writer, "nested", numbers, item.nestedList.get());
    writer.endObject();
  }
  writer.endArray();
  writer.endObject();
}

}  // namespace

void Coding<tool::RenderedJSON>::encodeMembers(JSONWriter& writer, const tool::RenderedJSON& rendered) {
  const auto& renderInfo = *rendered.renderInfo;
  const ListNumbering numbers(renderInfo);
  writer.key("linesRange");
  writer.beginArray();
  writer.integer(renderInfo.linesRange.lowerBound);
  writer.integer(renderInfo.linesRange.upperBound);
  writer.endArray();
  writer.key("lines");
  writer.beginArray();
  for (const auto& [index, line] : renderInfo.lines) write(writer, index, line, numbers);
  writer.endArray();
  writer.key("lists");
  writer.beginArray();
  for (std::size_t i = 0; i < numbers.lists().size(); ++i) write(writer, i, *numbers.lists()[i], numbers);
  writer.endArray();
}

}  // namespace lx
