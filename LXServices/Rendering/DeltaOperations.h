#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "LXDelta/Delta.h"
#include "LXUtils/Foundation/IndexOffset.h"
#include "LXUtils/Foundation/Range.h"

namespace lx {

/// Like delta.retain, but only when the condition holds.
void retainIf(Delta& delta, const std::function<bool()>& condition, std::int64_t characters,
              Attributes attributes = {});

/// Like delta.insert of a text, but only when the condition holds.
void insertIf(Delta& delta, const std::function<bool()>& condition, std::string_view text, Attributes attributes = {});

/// Of a line: the flag that stops the walk when set, its index, its place in the document, separator included, and its
/// attributes. A failure stops the walk, too.
using LineRangeBody = std::function<Result<void>(bool& stop, std::int64_t index, Range<IndexOffset> lineRange,
                                                 const Attributes& attributes)>;

/// Calls `body` for each line that `range` meets, by the rules of Delta::eachLine. An empty range meets the line that
/// it stands in, at the document's end the last one. The error is that of `body`.
Result<void> eachLine(const Delta& delta, Range<IndexOffset> range, char32_t separator, const LineRangeBody& body);

/// How far a change lets the text stand before it begins: the length of a first retain without attributes, else 0.
std::int64_t cursorStart(const Delta& delta);

/// How many UTF-16 code units the delta deletes.
std::int64_t deletedLength(const Delta& delta);

/// How many UTF-16 code units the delta inserts.
std::int64_t insertedLength(const Delta& delta);

}  // namespace lx
