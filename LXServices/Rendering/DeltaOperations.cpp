#include "LXServices/Rendering/DeltaOperations.h"

#include <utility>

#include "LXDelta/DeltaLines.h"

namespace lx {
namespace {

template <class Kind>
std::int64_t totalLength(const Delta& delta) {
  std::int64_t length = 0;
  for (const auto& operation : delta.operations()) {
    if (std::holds_alternative<Kind>(operation.value)) length = addingLengths(length, operation.length());
  }
  return length;
}

bool isLast(DeltaLines lines) { return !lines.next(); }

}  // namespace

void retainIf(Delta& delta, const std::function<bool()>& condition, std::int64_t characters, Attributes attributes) {
  if (condition()) delta.retain(characters, std::move(attributes));
}

void insertIf(Delta& delta, const std::function<bool()>& condition, std::string_view text, Attributes attributes) {
  if (condition()) delta.insert(Content(text), std::move(attributes));
}

Result<void> eachLine(const Delta& delta, Range<IndexOffset> range, char32_t separator, const LineRangeBody& body) {
  const bool isPlace = range.lowerBound == range.upperBound;
  DeltaLines lines(delta, separator);
  Range<IndexOffset> line;
  for (bool stop = false; !stop && lines.next(); line.lowerBound = line.upperBound) {
    if (line.lowerBound > range.upperBound) break;
    line.upperBound = line.lowerBound + lines.changeLength();
    const bool meets = isPlace
                           ? line.contains(range.lowerBound) || (line.upperBound == range.lowerBound && isLast(lines))
                           : line.overlaps(range);
    if (!meets) continue;
    if (auto done = body(stop, lines.index(), line, lines.attributes()); !done) return done;
  }
  return {};
}

std::int64_t cursorStart(const Delta& delta) {
  const auto* retain = delta.operations().empty() ? nullptr : delta.operations().front().asRetain();
  return retain && retain->attributes.isEmpty() ? retain->length : 0;
}

std::int64_t deletedLength(const Delta& delta) { return totalLength<Operation::Delete>(delta); }

std::int64_t insertedLength(const Delta& delta) { return totalLength<Operation::Insert>(delta); }

}  // namespace lx
