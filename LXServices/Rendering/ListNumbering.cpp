#include "LXServices/Rendering/ListNumbering.h"

namespace lx::DeltaRenderUtils {

ListNumbering::ListNumbering(const RenderInfo& renderInfo) {
  for (const auto& [index, line] : renderInfo.lines) {
    add(line.lineType.list());
  }
  // NOLINTNEXTLINE(modernize-loop-convert): more lists join while it runs
  for (std::size_t i = 0; i < lists_.size(); ++i) {
    for (const auto& item : lists_[i]->items()) add(item.nestedList.get());
  }
}

void ListNumbering::add(const ListInfo* list) {
  // Lines of one list mostly follow one another.
  if (!list || (!lists_.empty() && lists_.back() == list)) return;
  if (numbers_.emplace(list, lists_.size()).second) lists_.push_back(list);
}

std::optional<std::size_t> ListNumbering::number(const ListInfo* list) const {
  const auto found = numbers_.find(list);
  return found == numbers_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace lx::DeltaRenderUtils
