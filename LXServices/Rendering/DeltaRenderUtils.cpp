#include "LXServices/Rendering/DeltaRenderUtils.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "LXDelta/DeltaLines.h"
#include "LXServices/Rendering/LineParsingStateMachineObserver.h"

namespace lx::DeltaRenderUtils {
namespace {

void handleLine(LineParsingStateMachine& stateMachine, const std::optional<Attributes>& attributes) {
  if (!attributes) return stateMachine.body(Attributes());
  if (const auto type = attributes->list()) return stateMachine.list(*type, *attributes);
  if (const auto level = attributes->header(); level && *level >= 1) return stateMachine.header(*level, *attributes);
  stateMachine.body(*attributes);
}

/// At least as many as there are lines, where no line is without separator.
std::size_t separatorCount(const Delta& delta) {
  std::size_t count = 0;
  for (const auto& operation : delta.operations()) {
    const auto* text = operation.asInsert() ? operation.asInsert()->content.text() : nullptr;
    if (text)
      count += static_cast<std::size_t>(std::ranges::count(*text, static_cast<char>(Delta::defaultLineSeparator)));
  }
  return count;
}

}  // namespace

RenderInfo buildRenderInfo(const Delta& delta) {
  if (delta.operations().empty()) return RenderInfo::empty();
  const auto observer = std::make_shared<LineParsingStateMachineObserver>();
  LineParsingStateMachine stateMachine(observer);
  // Lines are large, so moving them to a larger place several times would take much of the time.
  observer->linesInfo.reserve(separatorCount(delta) + 1);
  std::int64_t count = 0;
  for (DeltaLines lines(delta, Delta::defaultLineSeparator); lines.next(); ++count) {
    observer->lineIndex = lines.index();
    handleLine(stateMachine, lines.attributes());
  }
  return {std::move(observer->linesInfo), {0, count}};
}

}  // namespace lx::DeltaRenderUtils
