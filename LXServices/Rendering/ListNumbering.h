#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "LXServices/Rendering/RenderInfo.h"

namespace lx::DeltaRenderUtils {

/// Numbers from 0 for the lists of a document: first those that lines name, in the order of the lines, then those
/// nested in lists so far numbered, level by level. The document must outlive the numbering.
class ListNumbering {
 public:
  explicit ListNumbering(const RenderInfo& renderInfo);

  /// The list with number i stands at i.
  const std::vector<const ListInfo*>& lists() const { return lists_; }

  /// None for none, and for a list that no line or item of the document holds.
  std::optional<std::size_t> number(const ListInfo* list) const;

 private:
  void add(const ListInfo* list);

  std::vector<const ListInfo*> lists_;
  std::unordered_map<const ListInfo*, std::size_t> numbers_;
};

}  // namespace lx::DeltaRenderUtils
