#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/AnyJSON.h"
#include "LXUtils/Foundation/CodingError.h"
#include "LXUtils/Foundation/JSON.h"
#include "LXUtils/Foundation/LargeVector.h"
#include "LXUtils/Foundation/ShortText.h"

namespace lx {

/// Reads a JSON text (RFC 8259) once from front to back, without a tree: for documents of which a JSONDocument would
/// cost too much memory or time. It refuses what JSONDocument refuses, but only what it has come past.
///
/// The caller asks for what should come next, for an object so:
///
///     if (reader.beginObject()) {
///       while (reader.nextMember(key)) { /* read or skip one value */ }
///     }
///
/// After the first failure nothing can be read any more and `fault` tells what it was. The text must outlive the
/// reader.
class JSONReader {
 public:
  static constexpr unsigned maxDepth = 64;  ///< arrays and objects inside one another

  explicit JSONReader(std::string_view text);

  /// Of the value that comes next; nothing when there is none.
  std::optional<JSONValue::Kind> nextKind();

  bool beginObject();
  /// Moves to the next member and gives its key, which is valid until the next call; false after the last one.
  bool nextMember(std::string_view& key);

  bool beginArray();
  /// Moves to the next element; false after the last one.
  bool nextElement();

  bool readString(std::string& out);
  /// For what may be very long.
  bool readString(LargeVector<char>& out);
  /// The string that comes next, when it is spelt as what it says: without blanks before it and without escapes.
  /// Otherwise nothing, and nothing is read.
  std::optional<std::string_view> readVerbatimString();
  /// The string that comes next, without blanks before it, when it is short and says what nearly all short ones do.
  /// Otherwise nothing is read, and `out` is empty or as it was.
  bool readShortString(ShortText& out);
  bool readAny(AnyJSON& out);
  bool skipValue();

  /// True when nothing but blanks is left.
  bool finish();

  /// What is still to be read. After nextKind() it begins with the value.
  std::string_view rest() const { return {position_, static_cast<std::size_t>(end_ - position_)}; }
  /// Passes a value whose extent the caller knows from `rest`.
  void passKnownValue(std::size_t size) { position_ += size; }

  /// Passes these very bytes when they come next: a caller that expects a certain spelling, without blanks, can read it
  /// much faster so. Whoever passed the beginning of a value must pass all of it, or go back.
  template <std::size_t size>
  bool passIfNext(const char (&text)[size]) {
    constexpr std::size_t length = size - 1;
    if (static_cast<std::size_t>(end_ - position_) < length || std::memcmp(position_, text, length) != 0) return false;
    position_ += length;
    return true;
  }

  /// Likewise the beginning of an object, with its first keys, and its end.
  template <std::size_t size>
  bool beginIfNext(const char (&text)[size]) {
    if (depth_ == maxDepth || !passIfNext(text)) return false;
    ++depth_;
    return true;
  }
  bool endIfNext() {
    if (!passIfNext("}")) return false;
    --depth_;
    return true;
  }

  bool comesNext(char c) const { return position_ != end_ && *position_ == c; }

  /// Goes back to the beginning of a value, as it was at this `offset` and `depth`, since which nothing failed.
  void goBack(std::size_t offset, unsigned depth) {
    position_ = begin_ + offset;
    depth_ = depth;
  }

  /// The bytes read so far, which is where a fault was met.
  std::size_t offset() const { return static_cast<std::size_t>(position_ - begin_); }

  /// In how many arrays and objects that is.
  unsigned depth() const { return depth_; }

  std::optional<DecodingFault> fault() const { return fault_; }

 private:
  void skipBlanks();
  bool fail(DecodingFault fault = DecodingFault::malformed);
  bool begin(char bracket);
  bool next(char bracket);
  /// Reads on with a string while nothing unusual comes, a block at a time.
  void readBlocks(LargeVector<char>& out);
  /// Writes what the string says until its end, that of the room or something unusual, and answers the end of that.
  char* copyText(char* to, const char* endOfRoom);
  char* copyWindows(char* to, const char* endOfRoom);
  bool readUnusualShortString(ShortText& out);
  bool readEscape(LargeVector<char>& out);
  bool readHex(char32_t& unit);
  bool readWord(std::string_view word);
  bool readNumber(AnyJSON& out);

  const char* begin_;
  const char* position_;
  const char* end_;
  unsigned depth_ = 0;
  std::uint64_t untouched_ = 0;  // a bit for each open container of which nothing was read
  LargeVector<char> scratch_;
  std::optional<DecodingFault> fault_;
};

}  // namespace lx
