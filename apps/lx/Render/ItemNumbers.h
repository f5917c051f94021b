#pragma once

#include <cstdint>
#include <unordered_map>

#include "LXServices/Rendering/LineInfo.h"

namespace lx::tool {

/// The numbers that a reader expects of items: a list may begin with an item that no line stands for, which does not
/// count.
class ItemNumbers {
 public:
  std::int64_t next(const DeltaRenderUtils::ListInfo& list) { return ++counts_[&list]; }

 private:
  std::unordered_map<const DeltaRenderUtils::ListInfo*, std::int64_t> counts_;
};

/// Whether a checklist's line is done.
inline bool isChecked(const DeltaRenderUtils::LineInfo& line) {
  const auto& values = line.attributes.values();
  const auto found = values.find("list");
  return found != values.end() && found->second == AnyJSON{std::string("checked")};
}

inline Attributes::ListType typeOf(const DeltaRenderUtils::ListInfo& list) {
  const auto& items = list.items();
  return items.empty() ? Attributes::ListType::bullet : items.front().type.value_or(Attributes::ListType::bullet);
}

}  // namespace lx::tool
