#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "LXDelta/Delta.h"
#include "LXUtils/Foundation/JSONReader.h"

namespace lx {
namespace {

using Kind = JSONValue::Kind;

/// key == name, with a size that the compiler knows.
template <std::size_t size>
bool isKey(std::string_view key, const char (&name)[size]) {
  return key.size() == size - 1 && std::memcmp(key.data(), name, size - 1) == 0;
}

/// Attributes read lately, by their text: documents repeat a few over and over, and equal ones then share a record.
class RecentAttributes {
 public:
  /// Passes the object that comes next when it is known.
  const Attributes* pass(JSONReader& reader) {
    const std::string_view text = objectAt(reader.rest());
    if (text.empty()) return nullptr;
    const auto& entry = entryFor(text);
    if (entry.text != text) return nullptr;
    reader.passKnownValue(text.size());
    return &entry.attributes;
  }

  /// Keeps those that were read from the text of an object.
  void keep(std::string_view text, const Attributes& attributes) {
    // What is found again ends with the first brace.
    if (text.empty() || objectAt(text) != text) return;
    auto& entry = entryFor(text);
    entry.text.assign(text);
    entry.attributes = attributes;
  }

 private:
  struct Entry {
    std::string text;
    Attributes attributes;
  };

  /// The object that the text begins with, or the beginning of one that holds another; nothing for a long one.
  static std::string_view objectAt(std::string_view text) {
    constexpr std::size_t longest = 256;
    const auto end = text.substr(0, longest).find('}');
    return text.substr(0, end + 1);  // nothing for npos, too
  }

  Entry& entryFor(std::string_view text) {
    // The ends of texts differ more often than their beginnings.
    std::uint64_t tail = 0;
    const auto size = std::min(text.size(), sizeof tail);
    std::memcpy(&tail, text.data() + text.size() - size, size);
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15;  // 2^64 by the golden ratio
    return entries_[(tail + text.size()) * spread >> (64U - entryBits)];
  }

  static constexpr unsigned entryBits = 5;
  std::array<Entry, std::size_t{1} << entryBits> entries_;
};

class DeltaReader {
 public:
  explicit DeltaReader(std::string_view text) : size_(text.size()), reader_(text) {}

  Result<Delta> read() {
    if (readDocument() && reader_.finish()) return Delta(std::move(operations_));
    // A fault of the text is met before anything can be said of the values.
    if (const auto fault = reader_.fault()) {
      if (path_.empty()) path_ = operationPath();
      path_ += (path_.empty() ? "byte " : " at byte ") + std::to_string(reader_.offset());
      return lx::fail(DecodingError{std::move(path_), *fault});
    }
    return lx::fail(DecodingError{std::move(path_), *fault_});
  }

 private:
  bool readDocument() {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind == Kind::array) return readOperations();
    if (*kind != Kind::object) return failType("document");
    listPath_ = "ops";
    reader_.beginObject();
    bool isThere = false;
    for (std::string_view key; reader_.nextMember(key);) {
      if (key == "ops") {
        isThere = true;
        operations_.clear();
        index_ = 0;
        if (!readOperations()) return false;
      } else if (!reader_.skipValue()) {
        return false;
      }
    }
    if (reader_.fault()) return false;
    return isThere || fail(listPath_, DecodingFault::missing);
  }

  bool readOperations() {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind != Kind::array) return failType(listPath_);
    reader_.beginArray();
    isInside_ = true;
    while (reader_.nextElement()) {
      do {
        if (!readOperation()) return false;
      } while (reader_.passIfNext(","));
    }
    if (reader_.fault()) return false;
    isInside_ = false;
    return true;
  }

  bool readOperation() {
    if (!reader_.comesNext('{')) {
      const auto kind = reader_.nextKind();
      if (!kind) return false;
      if (*kind != Kind::object) return failType(operationPath());
    }
    reserve();
    // Read in place: moving a text through several hands takes as long as reading it.
    auto& insert = std::get<Operation::Insert>(operations_.emplace_back().value);
    const auto begin = reader_.offset();
    const auto depth = reader_.depth();
    if (readUsualInsert(insert)) {
      ++index_;
      return true;
    }
    if (reader_.fault() || fault_) return false;
    reader_.goBack(begin, depth);
    insert = {};
    return readMembers(insert);
  }

  /// Reads {"insert":"…"} and {"insert":"…","attributes":…} when they are spelt so, without blanks, as nearly all are.
  /// Otherwise the reader stands somewhere in the operation.
  bool readUsualInsert(Operation::Insert& insert) {
    if (!reader_.beginIfNext("{\"insert\":")) return false;
    if (!reader_.comesNext('"') || !readText(insert.content)) return false;
    if (reader_.endIfNext()) return true;
    return reader_.passIfNext(",\"attributes\":") && readAttributes(insert.attributes) && reader_.endIfNext();
  }

  /// Reads any operation, into `insert` first.
  bool readMembers(Operation::Insert& insert) {
    bool isInsert = false;
    std::optional<std::int64_t> retained;
    std::optional<std::int64_t> deleted;
    reader_.beginObject();
    for (std::string_view key; reader_.nextMember(key);) {
      bool isRead = false;
      if (isKey(key, "insert")) {
        isInsert = true;
        isRead = readContent(insert.content);
      } else if (isKey(key, "attributes")) {
        isRead = readAttributes(insert.attributes);
      } else if (isKey(key, "retain")) {
        isRead = readLength(".retain", retained);
      } else if (isKey(key, "delete")) {
        isRead = readLength(".delete", deleted);
      } else {
        isRead = reader_.skipValue();
      }
      if (!isRead) return false;
    }
    if (reader_.fault()) return false;
    const int kinds = int{isInsert} + int{retained.has_value()} + int{deleted.has_value()};
    if (kinds != 1) return failInOperation("", kinds == 0 ? DecodingFault::missing : DecodingFault::malformed);
    auto& operation = operations_.back();
    if (retained) operation = {Operation::Retain{*retained, std::move(insert.attributes)}};
    if (deleted) operation = {Operation::Delete{*deleted}};
    ++index_;
    return true;
  }

  bool readContent(Content& content) {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind == Kind::string) return readText(content);
    if (*kind != Kind::object) return failType(operationPath() + ".insert");
    AnyJSON embed;
    if (!reader_.readAny(embed)) return false;
    content = std::get<AnyJSON::Object>(std::move(embed.value));
    return true;
  }

  bool readText(Content& content) {
    if (reader_.readShortString(content.resetToShortText())) return true;
    if (const auto text = reader_.readVerbatimString()) {
      content = Content(*text);
    } else {
      Content::LongText longText;
      if (!reader_.readString(longText)) return false;
      content = Content(std::move(longText));
    }
    return true;
  }

  bool readLength(std::string_view member, std::optional<std::int64_t>& out) {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind != Kind::number) return failType(operationPath().append(member));
    AnyJSON value;
    if (!reader_.readAny(value)) return false;
    const auto* length = std::get_if<std::int64_t>(&value.value);
    if (!length || *length < 0) return failInOperation(member, DecodingFault::outOfRange);
    out = *length;
    return true;
  }

  bool readAttributes(Attributes& out) {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (const auto* known = *kind == Kind::object ? recentAttributes_.pass(reader_) : nullptr) {
      out = *known;
      return true;
    }
    if (*kind != Kind::object && *kind != Kind::null) {
      return failType(operationPath() + ".attributes");
    }
    const std::string_view text = reader_.rest();
    AnyJSON values;
    if (!reader_.readAny(values)) return false;
    out = {};
    if (auto* object = std::get_if<AnyJSON::Object>(&values.value)) {
      out = Attributes::of(std::move(*object));
      recentAttributes_.keep(text.substr(0, text.size() - reader_.rest().size()), out);
    }
    return true;
  }

  /// Makes room by what the operations so far took of the text, so that few are moved and little room is left over.
  void reserve() {
    const auto count = operations_.size();
    if (count < operations_.capacity()) return;
    constexpr std::size_t smallSample = 4096;  // whose share of the text may mislead
    const double share = static_cast<double>(size_) / static_cast<double>(reader_.offset());
    const auto expected = static_cast<std::size_t>(static_cast<double>(count) * share * 1.05);
    // An operation takes some bytes of the text, which bounds what is expected.
    operations_.reserve(
        std::max(count + count / 2 + 8, count < smallSample ? std::min(expected, 8 * count) : expected));
  }

  std::string operationPath() const {
    return isInside_ ? listPath_ + "[" + std::to_string(index_) + "]" : std::string();
  }

  /// Passes the value of another kind than is wanted first: it may be no value at all.
  bool failType(std::string path) { return reader_.skipValue() && fail(std::move(path), DecodingFault::typeMismatch); }

  bool failInOperation(std::string_view member, DecodingFault fault) {
    return fail(operationPath().append(member), fault);
  }

  bool fail(std::string path, DecodingFault fault) {
    path_ = std::move(path);
    fault_ = fault;
    return false;
  }

  const std::size_t size_;
  JSONReader reader_;
  RecentAttributes recentAttributes_;
  LargeVector<Operation> operations_;
  std::size_t index_ = 0;  // of the operation that is being read
  std::string listPath_;
  bool isInside_ = false;  // of the list of operations
  std::string path_;
  std::optional<DecodingFault> fault_;  // of the values
};

void encodeOperation(JSONWriter& writer, const Operation& operation) {
  const Attributes* attributes = nullptr;
  writer.beginObject();
  if (const auto* insert = operation.asInsert()) {
    writer.key("insert");
    if (const auto text = insert->content.text()) {
      writer.string(*text);
    } else {
      encodeJSON(writer, *insert->content.embed());
    }
    attributes = &insert->attributes;
  } else if (const auto* retain = operation.asRetain()) {
    writer.key("retain");
    writer.integer(retain->length);
    attributes = &retain->attributes;
  } else {
    writer.key("delete");
    writer.integer(operation.length());
  }
  if (attributes && !attributes->isEmpty()) {
    writer.key("attributes");
    encodeJSON(writer, *attributes);
  }
  writer.endObject();
}

}  // namespace

Result<Delta> Delta::fromJSON(std::string_view text) { return DeltaReader(text).read(); }

void Coding<Delta>::encode(JSONWriter& writer, const Delta& delta) {
  const auto& operations = delta.operations();
  writer.beginObject();
  writer.key("ops");
  writer.beginArray();
  for (std::size_t i = 0; i < operations.size() && !writer.hasFailed(); ++i) {
    encodeOperation(writer, operations[i]);
    if (writer.hasFailed()) writer.prependIndexToPath(i);
  }
  writer.endArray();
  writer.endObject();
  if (writer.hasFailed()) writer.prependKeyToPath("ops");
}

}  // namespace lx
