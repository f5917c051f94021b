#include "LXServices/Rendering/LineParsingStateMachine.h"

#include <algorithm>
#include <utility>

#include "LXServices/Rendering/ListArenaInternal.h"

namespace lx::DeltaRenderUtils {
namespace {

using ListType = Attributes::ListType;
using SharedList = std::shared_ptr<ListInfo>;

/// Finds the list for the item of a line, and makes it where there is none.
struct ListFinder {
  ListArena& arena;
  ListType type;

  /// A new list with the line's item, in the place of what is nested in the parent's last item, or else a root.
  SharedList makeListWithItem(std::int64_t indent, const SharedList& parent) const {
    auto list = ListInfo::make(indent, arena);
    list->append({type, nullptr});
    if (parent) parent->append(list, type);
    return list;
  }

  SharedList withItemInSameIndent(SharedList info) const {
    const bool isOfType = !info->items().empty() && info->items().front().type == type;
    if (!isOfType) return makeListWithItem(info->indent(), info->parentList());
    info->append({type, nullptr});
    return info;
  }

  /// A list on each level down to the line's.
  SharedList withItemInDeeperIndent(SharedList info, std::int64_t indent) const {
    while (info->indent() + 1 < indent) {
      auto nested = ListInfo::make(info->indent() + 1, arena);
      info->append(nested, type);
      info = std::move(nested);
    }
    return makeListWithItem(indent, info);
  }

  /// The list that holds the line's item, for a line of this indent that follows an item of `info`, if any.
  SharedList withItem(SharedList info, std::int64_t indent) const {
    while (info && indent < info->indent()) info = info->parentList();
    if (!info) return makeListWithItem(indent, nullptr);
    return indent == info->indent() ? withItemInSameIndent(std::move(info))
                                    : withItemInDeeperIndent(std::move(info), indent);
  }
};

}  // namespace

LineParsingStateMachine::LineParsingStateMachine(std::weak_ptr<LineParsingStateMachineObserverProtocol> observer)
    : observer_(std::move(observer)), observing_(observer_.lock().get()), arena_(ListArena::make()) {}

template <class Kind>
Kind& LineParsingStateMachine::enter(const Attributes& attributes) {
  // Lines of one kind mostly follow one another.
  if (auto* const current = std::get_if<Kind>(&state_)) {
    current->attributes = attributes;
    return *current;
  }
  Kind state;
  state.attributes = attributes;  // which may be those of the state that ends
  return state_.emplace<Kind>(std::move(state));
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
  info = ListFinder{*arena_, type}.withItem(std::move(info), indent);
  tellObserver();
}

void LineParsingStateMachine::tellObserver() const {
  // Taking a share of it would cost more than all else that a line does.
  if (!observer_.expired()) observing_->stateMachineDidHandleLine(*this);
}

}  // namespace lx::DeltaRenderUtils
