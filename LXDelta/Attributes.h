#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "LXUtils/Foundation/AnyJSON.h"
#include "LXUtils/Foundation/SharedRecord.h"

namespace lx {

/// What formats a text or a line: values by name. Empty attributes stand for none. Copies share one immutable record,
/// so that they cost next to nothing.
class Attributes {
 public:
  enum class ListType : std::uint8_t { ordered, bullet, checklist };

  /// One name with its value.
  struct Attribute {
    std::string name;
    AnyJSON value;

    /// A checklist is written as "unchecked".
    static Attribute list(ListType type);
    static Attribute header(std::int64_t level) { return {"header", {level}}; }
    static Attribute indent(std::int64_t indent) { return {"indent", {indent}}; }
  };

  Attributes() = default;

  /// Of equal names the last counts. An empty list gives empty attributes.
  explicit Attributes(std::vector<Attribute> attributes);
  static Attributes of(AnyJSON::Object values);

  /// "ordered", "bullet", and "checked" or "unchecked" for a checklist. Any other value counts as none.
  std::optional<ListType> list() const { return record_ ? record_->list : std::nullopt; }
  /// Values that are no whole number count as none, here and for `indent`.
  std::optional<std::int64_t> header() const { return record_ ? record_->header : std::nullopt; }
  std::optional<std::int64_t> indent() const { return record_ ? record_->indent : std::nullopt; }

  bool isEmpty() const { return !record_; }

  /// All of them as they came, the above included.
  const AnyJSON::Object& values() const;

  friend bool operator==(const Attributes& a, const Attributes& b) {
    return a.record_.get() == b.record_.get() || (a.record_ && b.record_ && haveEqualValues(*a.record_, *b.record_));
  }

 private:
  struct Record {
    AnyJSON::Object values;
    std::optional<ListType> list;
    std::optional<std::int64_t> header;
    std::optional<std::int64_t> indent;
  };

  static bool haveEqualValues(const Record& a, const Record& b);

  SharedRecord<Record> record_;  // none for empty attributes
};

template <>
struct Coding<Attributes> {
  static void encode(JSONWriter& writer, const Attributes& attributes);
};

}  // namespace lx
