#include "LXServices/Rendering/LineParsingStateMachineObserver.h"

namespace lx::DeltaRenderUtils {

void LineParsingStateMachineObserver::stateMachineDidHandleLine(const LineParsingStateMachine& stateMachine) {
  using Machine = LineParsingStateMachine;
  const auto& state = stateMachine.state();
  if (const auto* body = std::get_if<Machine::Body>(&state)) {
    linesInfo.insertOrAssign(lineIndex, {LineType(), body->attributes});
  } else if (const auto* header = std::get_if<Machine::Header>(&state)) {
    linesInfo.insertOrAssign(lineIndex, {LineType::Heading{header->level}, header->attributes});
  } else if (const auto* list = std::get_if<Machine::List>(&state)) {
    const auto count = static_cast<std::int64_t>(list->info->items().size());
    linesInfo.insertOrAssign(lineIndex, {LineType::ListItem{list->info, count}, list->attributes});
  }
}

}  // namespace lx::DeltaRenderUtils
