#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/CodingError.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Writes one JSON text without blanks, members in the order given. The caller sees to the grammar: a key before each
/// value of an object, an end for each beginning.
///
/// Slashes are not escaped. Whole numbers are written without fraction or exponent, others with the fewest digits that
/// read back the same. What cannot be written (text that is not UTF-8, numbers that are not finite) makes the writer
/// fail for good; whoever knows where that happened adds to the path.
class JSONWriter {
 public:
  JSONWriter();

  void beginObject();
  void endObject();
  void beginArray();
  void endArray();
  void key(std::string_view key);
  void string(std::string_view text);
  void integer(std::int64_t value);
  void number(double value);
  void boolean(bool value);
  void null();

  bool hasFailed() const { return error_.has_value(); }
  void prependKeyToPath(std::string_view key);
  void prependIndexToPath(std::size_t index);

  /// The text, or an EncodingError.
  Result<std::string> finish() &&;

 private:
  void separate();
  void quote(std::string_view text);
  void failWith(EncodingFault fault);

  std::string text_;
  bool needsComma_ = false;
  std::optional<EncodingError> error_;
};

}  // namespace lx
