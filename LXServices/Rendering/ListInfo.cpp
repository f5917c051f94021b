#include "LXServices/Rendering/ListInfo.h"

#include <utility>
#include <vector>

#include "LXServices/Rendering/ListArenaInternal.h"

namespace lx::DeltaRenderUtils {

struct ListInfo::Shared final : ListInfo {
  Shared(std::int64_t ownIndent, const std::shared_ptr<ListInfo>& ownParent) : ListInfo(ownIndent, ownParent) {}
};

std::shared_ptr<ListInfo> ListInfo::make(std::int64_t indent, const std::shared_ptr<ListInfo>& parent) {
  return std::make_shared<Shared>(indent, parent);
}

std::shared_ptr<ListInfo> ListInfo::make(std::int64_t indent, ListArena& arena) {
  return std::allocate_shared<Shared>(ListArenaAllocator<Shared>(arena), indent, nullptr);
}

ListInfo::~ListInfo() {
  // Where a list frees another, and so on, the first of them does it for all. Whether somebody else holds one, on
  // whatever thread, does not matter to this.
  static thread_local std::vector<std::shared_ptr<ListInfo>>* released = nullptr;
  std::vector<std::shared_ptr<ListInfo>> own;
  const bool isFirst = released == nullptr;
  if (isFirst) released = &own;
  for (auto& item : items_) {
    if (item.nestedList) released->push_back(std::move(item.nestedList));
  }
  if (!isFirst) return;
  while (!own.empty()) {
    const auto list = std::move(own.back());
    own.pop_back();
  }
  released = nullptr;
}

void ListInfo::append(ListItemInfo item) { items_.push_back(std::move(item)); }

void ListInfo::append(std::shared_ptr<ListInfo> nested, Attributes::ListType type) {
  nested->parentList_ = weak_from_this();
  ListItemInfo item{type, std::move(nested)};
  if (!items_.empty()) {
    if (items_.back().type) item.type = items_.back().type;
    items_.pop_back();
  }
  items_.push_back(std::move(item));
}

}  // namespace lx::DeltaRenderUtils
