#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>

#include "LXDelta/Attributes.h"
#include "LXServices/Rendering/ListInfo.h"

namespace lx::DeltaRenderUtils {

/// What a line is.
struct LineType {
  struct Body {
    bool operator==(const Body&) const = default;
  };
  struct Heading {
    std::int64_t level = 1;  ///< at least 1
    bool operator==(const Heading&) const = default;
  };
  struct ListItem {
    std::shared_ptr<ListInfo> info;
    std::int64_t indexInList = 1;  ///< from 1
    /// Equal items are at one place of one and the same list.
    bool operator==(const ListItem&) const = default;
  };

  std::variant<Body, Heading, ListItem> value;

  const Heading* asHeading() const { return std::get_if<Heading>(&value); }
  const ListItem* asListItem() const { return std::get_if<ListItem>(&value); }

  bool operator==(const LineType&) const = default;
};

/// How a line is to be rendered.
struct LineInfo {
  LineType lineType;
  std::int64_t indent = 0;  ///< as the line gives it, 0 where it gives none
  std::optional<Attributes> attributes;

  bool operator==(const LineInfo&) const = default;
};

}  // namespace lx::DeltaRenderUtils
