#include "lx/Demo/Document.h"

#include "LXServices/Rendering/DeltaRenderUtils.h"
#include "LXServices/Rendering/ListNumbering.h"

#include "lx/Render/RenderForms.h"

namespace lx::tool {
namespace {

using Attribute = Attributes::Attribute;
using ListType = Attributes::ListType;

Attributes item(ListType type, std::int64_t indent = 0) {
  return Attributes({Attribute::list(type), Attribute::indent(indent)});
}

Delta writtenDocument() {
  const Attributes bold({{"bold", {true}}});
  return Delta()
      .insert("Before the trip")
      .insert("\n", Attributes({Attribute::header(2)}))
      .insert("Papers")
      .insert("\n", item(ListType::ordered))
      .insert("passport, ")
      .insert("still valid", bold)
      .insert("\n", item(ListType::bullet, 1))
      .insert("tickets ✈️")
      .insert("\n", item(ListType::bullet, 1))
      .insert("Keys")
      .insert("\n", item(ListType::ordered))
      .insert("That is all.\n");
}

Delta longDocument(int lineCount) {
  Delta delta;
  const auto ordered = item(ListType::ordered);
  for (int line = 0; line < lineCount; ++line) delta.insert("an item of a long list").insert("\n", ordered);
  return delta;
}

}  // namespace

void showDocument(Timeline& timeline) {
  timeline.chapter("A document, from JSON to lines and lists");
  const auto written = writtenDocument();
  const auto document = must(Delta::fromJSON(must(encodeJSONText(written))));
  timeline.check(document == written, "its JSON gives back the operations that it was written from");
  const auto renderInfo = DeltaRenderUtils::buildRenderInfo(document);
  const DeltaRenderUtils::ListNumbering lists(renderInfo);
  timeline.check(renderInfo.lines.size() == 6 && lists.lists().size() == 2,
                 "its 6 lines are a heading, 4 items of 2 lists, one list inside the other, and body text");
  const auto last = renderInfo.lines.find(4)->lineType.listItem();
  timeline.check(last && last->indexInList == 2, "after the list inside, the outer one goes on with its second item");
  timeline.show(renderedText(document, renderInfo, timeline.style()));

  constexpr int lineCount = 10'000;
  const auto text = must(encodeJSONText(longDocument(lineCount)));
  const auto start = timeline.now();
  const auto longInfo = DeltaRenderUtils::buildRenderInfo(must(Delta::fromJSON(text)));
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(timeline.now() - start);
  const auto* end = longInfo.lines.find(lineCount - 1);
  const auto endItem = end ? end->lineType.listItem() : std::nullopt;
  timeline.check(endItem && endItem->indexInList == lineCount,
                 "the last of 10,000 lines is item 10,000 of its list, " + std::to_string(time.count()) + " ms later");
}

}  // namespace lx::tool
