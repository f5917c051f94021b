#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string_view>

#include "LXDelta/DeltaLines.h"
#include "LXServices/Rendering/DeltaOperations.h"
#include "LXServices/Rendering/DeltaRenderUtils.h"
#include "LXServices/Rendering/ListNumbering.h"
#include "LXUtils/Foundation/JSONReader.h"

namespace {

using namespace lx::DeltaRenderUtils;

void require(bool condition) {
  if (!condition) std::abort();
}

/// The reader and the document must agree on what JSON is, and on what a text says.
void requireSameValue(std::string_view text, const lx::Result<lx::AnyJSON>& expected) {
  lx::JSONReader reader(text);
  lx::AnyJSON value;
  const bool isRead = reader.readAny(value) && reader.finish();
  require(isRead == expected.has_value());
  if (expected) require(value == *expected);
}

/// Operations hold the texts of the document, which were read in other ways.
void requireSameTexts(const lx::Delta& delta, const lx::AnyJSON& document) {
  using Object = lx::AnyJSON::Object;
  const auto* whole = std::get_if<Object>(&document.value);
  const auto& list = std::get<lx::AnyJSON::Array>(whole ? whole->at("ops").value : document.value);
  require(list.size() == delta.operations().size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    const auto* insert = delta.operations()[i].asInsert();
    const auto text = insert ? insert->content.text() : std::nullopt;
    if (text) require(std::get<std::string>(std::get<Object>(list[i].value).at("insert").value) == *text);
  }
}

void requireWhole(const lx::Delta& delta, const RenderInfo& info) {
  require(info.linesRange.upperBound == static_cast<std::int64_t>(info.lines.size()));
  require(info == buildRenderInfo(delta));
  const ListNumbering numbers(info);
  // Items count up; only a first one may have no line.
  std::map<const ListInfo*, std::int64_t> last;
  for (const auto& [index, line] : info.lines) {
    const auto item = line.lineType.listItem();
    if (!item) continue;
    auto& before = last[item->info.get()];
    require(item->indexInList == before + 1 || (before == 0 && item->indexInList == 2));
    before = item->indexInList;
    require(before <= static_cast<std::int64_t>(item->info->items().size()));
  }
  for (const auto* list : numbers.lists()) {
    const auto parent = list->parentList();
    require(!list->items().empty() && (!parent || numbers.number(parent.get())));
  }
}

}  // namespace

/// The input is a Delta document in JSON.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto document = lx::decodeJSON<lx::AnyJSON>(text);
  requireSameValue(text, document);
  const auto delta = lx::Delta::fromJSON(text);
  if (!delta) {
    require(delta.error().as<lx::DecodingError>() != nullptr);
    return 0;
  }
  requireSameTexts(*delta, document.value());
  require(lx::Delta::fromJSON(lx::encodeJSONText(*delta).value()) == *delta);

  const auto info = buildRenderInfo(*delta);
  requireWhole(*delta, info);

  lx::IndexOffset end;
  std::int64_t count = 0;
  for (lx::DeltaLines lines(*delta); lines.next(); ++count) {
    require(lines.delta().changeLength() == lines.changeLength() && lines.changeLength() > 0);
    end = end + lines.changeLength();
  }
  require(count == info.linesRange.upperBound && end.utf16Offset <= lx::insertedLength(*delta));
  return 0;
}
