#pragma once

#include <cstdint>
#include <memory>
#include <variant>

#include "LXDelta/Attributes.h"
#include "LXServices/Rendering/ListInfo.h"

namespace lx::DeltaRenderUtils {

class LineParsingStateMachine;

/// Hears of each line that a state machine has handled.
class LineParsingStateMachineObserverProtocol {
 public:
  virtual ~LineParsingStateMachineObserverProtocol() = default;

  /// The machine is in the state that the line led to. It must not take the last share of the observer away.
  virtual void stateMachineDidHandleLine(const LineParsingStateMachine& stateMachine) = 0;
};

/// Takes the lines of a document one by one and builds the lists that they form. For one thread, that of its observer.
class LineParsingStateMachine {
 public:
  struct Initial {};
  struct Body {
    Attributes attributes;
  };
  struct Header {
    std::int64_t level = 1;
    Attributes attributes;
  };
  struct List {
    std::shared_ptr<ListInfo> info;  ///< the list that holds the line's item as its last one
    Attributes attributes;
  };
  using State = std::variant<Initial, Body, Header, List>;

  /// List indents beyond this, on either side of 0, count as this for the lists: each level takes a list.
  static constexpr std::int64_t deepestIndent = 64;

  explicit LineParsingStateMachine(std::weak_ptr<LineParsingStateMachineObserverProtocol> observer);

  const State& state() const { return state_; }

  // The events, one for each line.
  void body(const Attributes& attributes);
  void header(std::int64_t level, const Attributes& attributes);
  void list(Attributes::ListType type, const Attributes& attributes);

 private:
  template <class Kind>
  Kind& enter(const Attributes& attributes);
  void tellObserver() const;

  State state_;
  std::weak_ptr<LineParsingStateMachineObserverProtocol> observer_;
  LineParsingStateMachineObserverProtocol* observing_;  // while observer_ is there
  std::shared_ptr<ListArena> arena_;
};

}  // namespace lx::DeltaRenderUtils
