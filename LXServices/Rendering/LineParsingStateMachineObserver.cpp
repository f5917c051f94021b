#include "LXServices/Rendering/LineParsingStateMachineObserver.h"

#include "LXUtils/Foundation/Overloaded.h"

namespace lx::DeltaRenderUtils {
namespace {

using Machine = LineParsingStateMachine;

}  // namespace

void LineParsingStateMachineObserver::stateMachineDidHandleLine(const LineParsingStateMachine& stateMachine) {
  const auto note = [this](LineType type, const Attributes& attributes) {
    linesInfo.insertOrAssign(lineIndex, std::move(type), attributes);
  };
  std::visit(Overloaded{
                 [](const Machine::Initial&) {},
                 [&](const Machine::Body& state) { note({LineType::Body{}}, state.attributes); },
                 [&](const Machine::Header& state) { note({LineType::Heading{state.level}}, state.attributes); },
                 [&](const Machine::List& state) {
                   const auto count = static_cast<std::int64_t>(state.info->items().size());
                   note({LineType::ListItem{state.info, count}}, state.attributes);
                 },
             },
             stateMachine.state());
}

}  // namespace lx::DeltaRenderUtils
