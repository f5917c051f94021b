#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "LXUtils/Foundation/Result.h"

namespace lx {

struct JSONNode;

/// What a JSON text may cost before it is refused.
struct JSONLimits {
  std::size_t maxDepth = 64;          ///< arrays and objects inside one another
  std::size_t maxSize = 64U << 20U;   ///< bytes of the text, at most 4 GiB
  std::size_t maxValues = 4'000'000;  ///< values of any kind; one takes 32 bytes
};

/// One value of a JSONDocument. A light view, valid as long as the document is.
class JSONValue {
 public:
  enum class Kind : std::uint8_t { null, boolean, number, string, array, object };

  Kind kind() const;
  bool isNull() const { return kind() == Kind::null; }

  /// The text of a string; UTF-8, and it may hold NUL.
  std::optional<std::string_view> asString() const;

  std::optional<bool> asBool() const;

  /// A whole number within the range, however it is spelt: 3600, 3600.0 and 36e2 are the same.
  std::optional<std::int64_t> asInt64() const;

  /// Any number; it is always finite.
  std::optional<double> asDouble() const;

  /// The member of an object under `key`; of several, the last. Nothing for a value of another kind.
  std::optional<JSONValue> member(std::string_view key) const;

  /// The number of an array's elements or an object's members, 0 for values of another kind.
  std::size_t size() const;

  /// The element, or the member's value, at `index < size()`, in the order of the text. Constant time.
  JSONValue element(std::size_t index) const;

  /// The key of the object's member at `index < size()`.
  std::string_view key(std::size_t index) const;

 private:
  friend class JSONDocument;
  explicit JSONValue(const JSONNode* node) : node_(node) {}

  const JSONNode* node_;
};

/// A parsed JSON text (RFC 8259). Refused with a DecodingError: whatever the grammar refuses, text that is not UTF-8,
/// a byte order mark, trailing garbage, numbers beyond the range of double, and texts beyond the limits.
class JSONDocument {
 public:
  /// Parses a copy of the text.
  static Result<JSONDocument> parse(std::string_view text, const JSONLimits& limits = {});
  static Result<JSONDocument> parse(std::span<const std::byte> text, const JSONLimits& limits = {});

  /// Parses without a copy: the text must outlive the document.
  static Result<JSONDocument> parseInPlace(std::string_view text, const JSONLimits& limits = {});

  JSONDocument(JSONDocument&&) noexcept;
  JSONDocument& operator=(JSONDocument&&) noexcept;
  ~JSONDocument();

  JSONValue root() const;

 private:
  struct Storage;
  static Result<JSONDocument> parse(std::string_view text, const JSONLimits& limits, std::unique_ptr<Storage> storage);
  explicit JSONDocument(std::unique_ptr<Storage> storage);

  std::unique_ptr<Storage> storage_;
};

}  // namespace lx
