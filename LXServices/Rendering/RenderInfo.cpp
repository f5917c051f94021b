#include "LXServices/Rendering/RenderInfo.h"

#include <algorithm>

#include "LXServices/Rendering/ListNumbering.h"

namespace lx::DeltaRenderUtils {
namespace {

/// Compares two documents whose lists are told apart by their numbers.
struct Comparison {
  bool equal(const LineInfo& a, const LineInfo& b) const {
    if (a.attributes != b.attributes) return false;
    const auto itemA = a.lineType.listItem();
    const auto itemB = b.lineType.listItem();
    if (!itemA || !itemB) return a.lineType == b.lineType;
    return itemA->indexInList == itemB->indexInList && same(itemA->info.get(), itemB->info.get());
  }

  bool equal(const ListInfo& a, const ListInfo& b) const {
    return a.indent() == b.indent() && same(a.parentList().get(), b.parentList().get()) &&
           std::ranges::equal(a.items(), b.items(), [this](const ListItemInfo& itemA, const ListItemInfo& itemB) {
             return itemA.type == itemB.type && same(itemA.nestedList.get(), itemB.nestedList.get());
           });
  }

  bool same(const ListInfo* a, const ListInfo* b) const { return numbersA.number(a) == numbersB.number(b); }

  const ListNumbering& numbersA;
  const ListNumbering& numbersB;
};

}  // namespace

const RenderInfo& RenderInfo::empty() {
  static const RenderInfo none;
  return none;
}

bool operator==(const RenderInfo& a, const RenderInfo& b) {
  if (a.linesRange != b.linesRange || a.lines.size() != b.lines.size()) return false;
  const ListNumbering numbersA(a);
  const ListNumbering numbersB(b);
  const Comparison comparison{numbersA, numbersB};
  for (const auto& [index, line] : a.lines) {
    if (!comparison.equal(line, *b.lines.find(index))) return false;
  }
  return std::ranges::equal(numbersA.lists(), numbersB.lists(),
                            [&](const ListInfo* x, const ListInfo* y) { return comparison.equal(*x, *y); });
}

}  // namespace lx::DeltaRenderUtils
