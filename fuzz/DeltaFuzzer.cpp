#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
void requireSameValue(std::string_view text) {
  lx::JSONReader reader(text);
  lx::AnyJSON value;
  const bool isRead = reader.readAny(value) && reader.finish();
  const auto expected = lx::decodeJSON<lx::AnyJSON>(text);
  require(isRead == expected.has_value());
  if (expected) require(value == *expected);
}

void requireWhole(const lx::Delta& delta, const RenderInfo& info) {
  require(info.linesRange.upperBound == static_cast<std::int64_t>(info.lines.size()));
  require(info == buildRenderInfo(delta));
  const ListNumbering numbers(info);
  for (const auto& [index, line] : info.lines) {
    const auto* item = line.lineType.asListItem();
    if (!item) continue;
    require(item->indexInList >= 1 && item->indexInList <= static_cast<std::int64_t>(item->info->items().size()));
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
  requireSameValue(text);
  const auto delta = lx::Delta::fromJSON(text);
  if (!delta) {
    require(delta.error().as<lx::DecodingError>() != nullptr);
    return 0;
  }
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
