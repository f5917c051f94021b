#include "LXServices/Rendering/LineParsingStateMachine.h"

#include <algorithm>
#include <utility>

namespace lx::DeltaRenderUtils {
namespace {

using ListType = Attributes::ListType;
using SharedList = std::shared_ptr<ListInfo>;

/// A new list with the line's item, in the place of what is nested in the parent's last item, or else a root.
SharedList makeListWithItem(std::int64_t indent, ListType type, const SharedList& parent) {
  auto list = ListInfo::make(indent);
  list->append({type, nullptr});
  if (parent) parent->append(list, type);
  return list;
}

SharedList withItemInSameIndent(SharedList info, ListType type) {
  const bool isOfType = !info->items().empty() && info->items().front().type == type;
  if (!isOfType) return makeListWithItem(info->indent(), type, info->parentList());
  info->append({type, nullptr});
  return info;
}

/// A list on each level down to the line's.
SharedList withItemInDeeperIndent(SharedList info, ListType type, std::int64_t indent) {
  while (info->indent() + 1 < indent) {
    auto nested = ListInfo::make(info->indent() + 1);
    info->append(nested, type);
    info = std::move(nested);
  }
  return makeListWithItem(indent, type, info);
}

/// The list that holds the line's item, for a line of this type and indent that follows an item of `info`, if any.
SharedList withItem(SharedList info, ListType type, std::int64_t indent) {
  while (info && indent < info->indent()) info = info->parentList();
  if (!info) return makeListWithItem(indent, type, nullptr);
  return indent == info->indent() ? withItemInSameIndent(std::move(info), type)
                                  : withItemInDeeperIndent(std::move(info), type, indent);
}

}  // namespace

LineParsingStateMachine::LineParsingStateMachine(std::weak_ptr<LineParsingStateMachineObserverProtocol> observer)
    : observer_(std::move(observer)) {}

template <class Kind>
Kind& LineParsingStateMachine::enter(const Attributes& attributes) {
  // Lines of one kind mostly follow one another.
  auto* const current = std::get_if<Kind>(&state_);
  auto& state = current ? *current : state_.emplace<Kind>();
  state.attributes = attributes;
  return state;
}

void LineParsingStateMachine::body(const Attributes& attributes) {
  enter<Body>(attributes);
  tellObserver();
}

void LineParsingStateMachine::header(std::int64_t level, const Attributes& attributes) {
  enter<Header>(attributes).level = level;
  tellObserver();
}

void LineParsingStateMachine::list(Attributes::ListType type, const Attributes& attributes) {
  const auto indent = std::clamp(attributes.indent().value_or(0), -deepestIndent, deepestIndent);
  auto& info = enter<List>(attributes).info;
  info = withItem(std::move(info), type, indent);
  tellObserver();
}

void LineParsingStateMachine::tellObserver() const {
  if (const auto observer = observer_.lock()) observer->stateMachineDidHandleLine(*this);
}

}  // namespace lx::DeltaRenderUtils
