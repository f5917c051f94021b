#include "LXDelta/Attributes.h"

#include <array>
#include <utility>

namespace lx {
namespace {

using ListType = Attributes::ListType;

// The first spelling of a type is the one that is written for it.
constexpr std::array<std::pair<std::string_view, ListType>, 4> listTypes{{
    {"ordered", ListType::ordered},
    {"bullet", ListType::bullet},
    {"unchecked", ListType::checklist},
    {"checked", ListType::checklist},
}};

std::optional<ListType> listType(const AnyJSON& value) {
  const auto* text = std::get_if<std::string>(&value.value);
  if (!text) return std::nullopt;
  for (const auto& [spelling, type] : listTypes) {
    if (spelling == *text) return type;
  }
  return std::nullopt;
}

std::optional<std::int64_t> wholeNumber(const AnyJSON& value) {
  const auto* number = std::get_if<std::int64_t>(&value.value);
  return number ? std::optional(*number) : std::nullopt;
}

AnyJSON::Object valuesOf(std::vector<Attributes::Attribute> attributes) {
  AnyJSON::Object values;
  for (auto& [name, value] : attributes) values.insert_or_assign(std::move(name), std::move(value));
  return values;
}

}  // namespace

Attributes::Attribute Attributes::Attribute::list(ListType type) {
  for (const auto& [spelling, known] : listTypes) {
    if (known == type) return {"list", {std::string(spelling)}};
  }
  return {"list", {}};
}

Attributes::Attributes(std::vector<Attribute> attributes) : Attributes(of(valuesOf(std::move(attributes)))) {}

Attributes Attributes::of(AnyJSON::Object values) {
  Attributes attributes;
  if (values.empty()) return attributes;
  Record record;
  for (const auto& [name, value] : values) {
    if (name == "list") record.list = listType(value);
    if (name == "header") record.header = wholeNumber(value);
    if (name == "indent") record.indent = wholeNumber(value);
  }
  record.values = std::move(values);
  attributes.record_ = SharedRecord(std::move(record));
  return attributes;
}

const AnyJSON::Object& Attributes::values() const {
  static const AnyJSON::Object none;
  return record_ ? record_->values : none;
}

bool Attributes::haveEqualValues(const Record& a, const Record& b) { return a.values == b.values; }

void Coding<Attributes>::encode(JSONWriter& writer, const Attributes& attributes) {
  encodeJSON(writer, attributes.values());
}

}  // namespace lx
