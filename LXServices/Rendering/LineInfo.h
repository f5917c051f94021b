#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "LXDelta/Attributes.h"
#include "LXServices/Rendering/ListInfo.h"

namespace lx::DeltaRenderUtils {

/// What a line is: body text unless it is made a heading or an item of a list.
class LineType {
 public:
  struct Heading {
    std::int64_t level = 1;  ///< at least 1
  };
  struct ListItem {
    std::shared_ptr<ListInfo> info;
    std::int64_t indexInList = 1;  ///< from 1
  };

  /// Body text.
  LineType() = default;
  /// Body text for a level below 1.
  LineType(Heading heading) : number_(std::max<std::int64_t>(heading.level, 0)) {}
  /// Body text without a list.
  LineType(ListItem item) : list_(std::move(item.info)), number_(list_ ? item.indexInList : 0) {}

  std::optional<Heading> heading() const {
    return list_ || number_ == 0 ? std::nullopt : std::optional(Heading{number_});
  }
  std::optional<ListItem> listItem() const { return list_ ? std::optional(ListItem{list_, number_}) : std::nullopt; }
  /// That of listItem(), for what does not keep it.
  const ListInfo* list() const { return list_.get(); }

  /// Equal items are at one place of one and the same list.
  bool operator==(const LineType&) const = default;

 private:
  // There may be millions, so they take no more than the largest of them needs.
  std::shared_ptr<ListInfo> list_;
  std::int64_t number_ = 0;  // an item's place in the list, a heading's level, or 0
};

/// How a line is to be rendered.
struct LineInfo {
  LineType lineType;
  Attributes attributes;

  /// As the line gives it, 0 where it gives none.
  std::int64_t indent() const { return attributes.indent().value_or(0); }

  bool operator==(const LineInfo&) const = default;
};

}  // namespace lx::DeltaRenderUtils
