#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "LXDelta/Delta.h"
#include "LXUtils/Foundation/JSONReader.h"

namespace lx {
namespace {

using Kind = JSONValue::Kind;

/// Attributes read lately, by their text: documents repeat a few over and over, and equal ones then share a record.
class RecentAttributes {
 public:
  /// Passes the object that comes next when it is known.
  std::optional<Attributes> pass(JSONReader& reader) {
    // An object says itself where it ends, so one that begins with all of a known text is that text.
    const std::string_view rest = reader.rest();
    for (const auto& [text, tail, attributes] : entries_) {
      // Tails differ more often than heads, and comparing them as numbers is quick.
      if (text.empty() || text.size() > rest.size() || tailOf(rest.substr(0, text.size())) != tail) continue;
      if (!rest.starts_with(text)) continue;
      reader.passKnownValue(text.size());
      return attributes;
    }
    return std::nullopt;
  }

  void keep(std::string_view text, const Attributes& attributes) {
    constexpr std::size_t longest = 256;
    if (text.size() < sizeof(Tail) || text.size() > longest) return;
    entries_[oldest_] = {std::string(text), tailOf(text), attributes};
    oldest_ = (oldest_ + 1) % entries_.size();
  }

 private:
  using Tail = std::uint64_t;
  struct Entry {
    std::string text;
    Tail tail = 0;
    Attributes attributes;
  };

  static Tail tailOf(std::string_view text) {
    Tail tail = 0;
    std::memcpy(&tail, text.data() + text.size() - sizeof tail, sizeof tail);
    return tail;
  }

  std::array<Entry, 16> entries_;
  std::size_t oldest_ = 0;
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
    return lx::fail(DecodingError{std::move(path_), fault_});
  }

 private:
  bool readDocument() {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind == Kind::array) return readOperations();
    if (*kind != Kind::object) return fail("", DecodingFault::typeMismatch);
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
    if (*kind != Kind::array) return fail(listPath_, DecodingFault::typeMismatch);
    reader_.beginArray();
    isInside_ = true;
    while (reader_.nextElement()) {
      if (!readOperation()) return false;
    }
    if (reader_.fault()) return false;
    isInside_ = false;
    return true;
  }

  bool readOperation() {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind != Kind::object) return failInOperation("", DecodingFault::typeMismatch);
    reserve();
    // Read in place: moving a text through several hands takes as long as reading it.
    auto& insert = std::get<Operation::Insert>(operations_.emplace_back().value);
    bool isInsert = false;
    std::optional<std::int64_t> retained;
    std::optional<std::int64_t> deleted;
    reader_.beginObject();
    for (std::string_view key; reader_.nextMember(key);) {
      bool isRead = false;
      if (key == "insert") {
        isInsert = true;
        isRead = readContent(insert.content);
      } else if (key == "attributes") {
        isRead = readAttributes(insert.attributes);
      } else if (key == "retain") {
        isRead = readLength(".retain", retained);
      } else if (key == "delete") {
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
    if (*kind == Kind::string) return reader_.readString(content.resetText());
    if (*kind != Kind::object) return failInOperation(".insert", DecodingFault::typeMismatch);
    AnyJSON embed;
    if (!reader_.readAny(embed)) return false;
    content = std::get<AnyJSON::Object>(std::move(embed.value));
    return true;
  }

  bool readLength(std::string_view member, std::optional<std::int64_t>& out) {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    AnyJSON value;
    if (*kind != Kind::number) return failInOperation(member, DecodingFault::typeMismatch);
    if (!reader_.readAny(value)) return false;
    const auto* length = std::get_if<std::int64_t>(&value.value);
    if (!length || *length < 0) return failInOperation(member, DecodingFault::outOfRange);
    out = *length;
    return true;
  }

  bool readAttributes(std::optional<Attributes>& out) {
    const auto kind = reader_.nextKind();
    if (!kind) return false;
    if (*kind == Kind::object && (out = recentAttributes_.pass(reader_))) return true;
    if (*kind != Kind::object && *kind != Kind::null) {
      return failInOperation(".attributes", DecodingFault::typeMismatch);
    }
    const std::string_view text = reader_.rest();
    AnyJSON values;
    if (!reader_.readAny(values)) return false;
    out.reset();
    if (auto* object = std::get_if<AnyJSON::Object>(&values.value)) {
      out = Attributes::of(std::move(*object));
      recentAttributes_.keep(text.substr(0, text.size() - reader_.rest().size()), *out);
    }
    return true;
  }

  /// Makes room by what the operations so far took of the text, so that few are moved and little room is left over.
  void reserve() {
    const auto count = operations_.size();
    if (count < operations_.capacity()) return;
    const double share = static_cast<double>(size_) / static_cast<double>(reader_.offset());
    const auto expected = static_cast<std::size_t>(static_cast<double>(count) * share * 1.05);
    operations_.reserve(std::clamp(expected, count + count / 2 + 8, 8 * count + 8));
  }

  std::string operationPath() const {
    return isInside_ ? listPath_ + "[" + std::to_string(index_) + "]" : std::string();
  }

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
  std::vector<Operation> operations_;
  std::size_t index_ = 0;  // of the operation that is being read
  std::string listPath_;
  bool isInside_ = false;  // of the list of operations
  std::string path_;
  DecodingFault fault_ = DecodingFault::malformed;
};

void encodeOperation(JSONWriter& writer, const Operation& operation) {
  const std::optional<Attributes>* attributes = nullptr;
  writer.beginObject();
  if (const auto* insert = operation.asInsert()) {
    writer.key("insert");
    if (const auto* text = insert->content.text()) {
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
  if (attributes && *attributes) {
    writer.key("attributes");
    encodeJSON(writer, **attributes);
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
