#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

#include "LXDelta/Attributes.h"
#include "LXDelta/Content.h"
#include "LXDelta/Operation.h"
#include "LXUtils/Foundation/LargeVector.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// A rich text, or a change of one: inserts, retains and deletes in order. All lengths count UTF-16 code units.
class Delta {
 public:
  /// The character that ends a line. No other one does, neither CR nor U+2028.
  static constexpr char32_t defaultLineSeparator = U'\n';

  Delta() = default;

  /// Keeps the operations as they are, without merging any.
  explicit Delta(LargeVector<Operation> operations) : operations_(std::move(operations)) {}

  /// Reads {"ops":[{"insert":…,"attributes":…}, …]}, or the array alone, operations as they come. Unknown members are
  /// ignored. Takes time and memory in proportion to the text. Errors: DecodingError, whose path names the operation,
  /// as in "ops[3].retain" or, where the text is no JSON, "ops[3] at byte 57".
  static Result<Delta> fromJSON(std::string_view text);

  const LargeVector<Operation>& operations() const { return operations_; }

  // These append an operation, merged into the last one where both are of one kind with equal attributes (embeds stay
  // apart). Empty text and lengths below 1 append nothing.
  Delta& insert(Content content, Attributes attributes = {});
  Delta& retain(std::int64_t characters, Attributes attributes = {});
  Delta& delete_(std::int64_t characters);

  /// By how much the change makes a text longer: what it inserts without what it deletes.
  std::int64_t changeLength() const;

  /// Of a line: the flag that stops the walk when set, the index from 0, the line with its separator, and the
  /// attributes of the separator. A failure stops the walk, too.
  using LineBody =
      std::function<Result<void>(bool& stop, std::int64_t index, const Delta& line, const Attributes& attributes)>;

  /// Calls `body` for each line in order. A last line without separator counts, without attributes. The walk ends
  /// at the first operation that is no insert, without the line begun there. The error is that of `body`.
  Result<void> eachLine(char32_t separator, const LineBody& body) const;

  bool operator==(const Delta&) const = default;

 private:
  LargeVector<Operation> operations_;
};

/// {"ops":[…]}: encodeJSONText(delta), encodeJSON(delta). Fails for text that is not UTF-8.
template <>
struct Coding<Delta> {
  static void encode(JSONWriter& writer, const Delta& delta);
};

}  // namespace lx
