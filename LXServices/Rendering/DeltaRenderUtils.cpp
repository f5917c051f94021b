#include "LXServices/Rendering/DeltaRenderUtils.h"

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

std::size_t separatorCount(std::string_view text) {
  const auto first = text.find(static_cast<char>(Delta::defaultLineSeparator));
  if (first == text.npos) return 0;
  text.remove_prefix(first);
  // Sums of a block fit into a byte, which lets the compiler count many bytes at once.
  constexpr std::size_t block = 64;
  const auto countIn = [](std::string_view part) {
    unsigned char sum = 0;
    for (const char c : part)
      sum = static_cast<unsigned char>(sum + (c == static_cast<char>(Delta::defaultLineSeparator)));
    return sum;
  };
  std::size_t count = 0;
  for (; text.size() >= block; text.remove_prefix(block)) count += countIn({text.data(), block});
  return count + countIn(text);
}

/// At least as many as there are lines, where no line is without separator.
std::size_t separatorCount(const Delta& delta) {
  std::size_t count = 0;
  for (const auto& operation : delta.operations()) {
    const auto* insert = operation.asInsert();
    if (const auto text = insert ? insert->content.text() : std::nullopt) count += separatorCount(*text);
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
