#include "LXServices/Rendering/LineParsingStateMachineObserver.h"

namespace lx::DeltaRenderUtils {

void LineParsingStateMachineObserver::stateMachineDidHandleLine(const LineParsingStateMachine& stateMachine) {
  using Machine = LineParsingStateMachine;
  const auto& state = stateMachine.state();
  if (const auto* body = std::get_if<Machine::Body>(&state)) {
    linesInfo.insertOrAssign(lineIndex, body->attributes);
  } else if (const auto* header = std::get_if<Machine::Header>(&state)) {
    auto* const line = linesInfo.insertOrAssign(lineIndex, header->attributes);
    if (line) line->lineType.value.emplace<LineType::Heading>(header->level);
  } else if (const auto* list = std::get_if<Machine::List>(&state)) {
    auto* const line = linesInfo.insertOrAssign(lineIndex, list->attributes);
    const auto count = static_cast<std::int64_t>(list->info->items().size());
    if (line) line->lineType.value.emplace<LineType::ListItem>(list->info, count);
  }
}

}  // namespace lx::DeltaRenderUtils
