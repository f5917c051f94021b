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
  std::vector<std::shared_ptr<ListInfo>> released;
  const auto releaseNested = [&released](ListInfo& list) {
    for (auto& item : list.items_) {
      if (item.nestedList) released.push_back(std::move(item.nestedList));
    }
  };
  releaseNested(*this);
  while (!released.empty()) {
    const auto list = std::move(released.back());
    released.pop_back();
    // Emptied before it goes, it has nothing left to free in a destructor inside this one.
    if (list.use_count() == 1) releaseNested(*list);
  }
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
