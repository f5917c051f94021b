#include "LXServices/Rendering/LineParsingStateMachine.h"

#include <algorithm>
#include <utility>

namespace lx::DeltaRenderUtils {
namespace {

using ListType = Attributes::ListType;
using SharedList = std::shared_ptr<ListInfo>;

/// The line stands in the list, or in a new one that takes the list's place.
SharedList withItemInSameIndent(const SharedList& info, ListType type) {
  if (!info->items().empty() && info->items().front().type == type) {
    info->append({type, nullptr});
    return info;
  }
  auto replacement = ListInfo::make(info->indent());
  replacement->append({type, nullptr});
  if (const auto parent = info->parentList()) parent->append(replacement, type);
  return replacement;
}

/// A list on each level down to the line's.
SharedList withItemInDeeperIndent(SharedList info, ListType type, std::int64_t indent) {
  while (info->indent() < indent) {
    auto nested = ListInfo::make(info->indent() + 1, info);
    info->append(nested, type);
    info = std::move(nested);
  }
  return withItemInSameIndent(info, type);
}

/// The list that holds the line's item, for a line of this type and indent that follows an item of `info`.
SharedList withItem(SharedList info, ListType type, std::int64_t indent) {
  while (info && indent < info->indent()) info = info->parentList();
  if (!info) info = ListInfo::make(indent);
  return indent == info->indent() ? withItemInSameIndent(info, type)
                                  : withItemInDeeperIndent(std::move(info), type, indent);
}

}  // namespace

LineParsingStateMachine::LineParsingStateMachine(std::weak_ptr<LineParsingStateMachineObserverProtocol> observer)
    : observer_(std::move(observer)) {}

void LineParsingStateMachine::body(const Attributes& attributes) {
  state_.emplace<Body>(attributes);
  tellObserver();
}

void LineParsingStateMachine::header(std::int64_t level, const Attributes& attributes) {
  state_.emplace<Header>(level, attributes);
  tellObserver();
}

void LineParsingStateMachine::list(Attributes::ListType type, const Attributes& attributes) {
  const auto indent = std::clamp(attributes.indent().value_or(0), -deepestIndent, deepestIndent);
  const auto* current = std::get_if<List>(&state_);
  auto info = withItem(current ? current->info : ListInfo::make(indent), type, indent);
  state_.emplace<List>(std::move(info), attributes);
  tellObserver();
}

void LineParsingStateMachine::tellObserver() const {
  if (const auto observer = observer_.lock()) observer->stateMachineDidHandleLine(*this);
}

}  // namespace lx::DeltaRenderUtils
