#include "LXServices/Rendering/DeltaRenderUtils.h"

#include <memory>
#include <utility>

#include "LXDelta/DeltaLines.h"
#include "LXServices/Rendering/LineParsingStateMachineObserver.h"

namespace lx::DeltaRenderUtils {
namespace {

void handleLine(LineParsingStateMachine& stateMachine, const Attributes& attributes) {
  if (const auto type = attributes.list()) return stateMachine.list(*type, attributes);
  if (const auto level = attributes.header().value_or(0); level >= 1) return stateMachine.header(level, attributes);
  stateMachine.body(attributes);
}

}  // namespace

RenderInfo buildRenderInfo(const Delta& delta) {
  if (delta.operations().empty()) return RenderInfo::empty();
  const auto observer = std::make_shared<LineParsingStateMachineObserver>();
  LineParsingStateMachine stateMachine(observer);
  std::int64_t count = 0;
  for (DeltaLines lines(delta, Delta::defaultLineSeparator); lines.next(); ++count) {
    observer->lineIndex = lines.index();
    handleLine(stateMachine, lines.attributes());
  }
  return {std::move(observer->linesInfo), {0, count}};
}

}  // namespace lx::DeltaRenderUtils
