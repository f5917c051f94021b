#include "LXUtils/Foundation/AnyJSON.h"

#include <utility>

#include "LXUtils/Foundation/Overloaded.h"

namespace lx {
namespace {

AnyJSON owned(JSONValue value) {
  switch (value.kind()) {
    case JSONValue::Kind::null:
      break;
    case JSONValue::Kind::boolean:
      return {*value.asBool()};
    case JSONValue::Kind::number:
      if (const auto integer = value.asInt64()) return {*integer};
      return {*value.asDouble()};
    case JSONValue::Kind::string:
      return {std::string(*value.asString())};
    case JSONValue::Kind::array: {
      AnyJSON::Array elements;
      for (std::size_t i = 0; i < value.size(); ++i) elements.push_back(owned(value.element(i)));
      return {std::move(elements)};
    }
    case JSONValue::Kind::object: {
      AnyJSON::Object members;
      for (std::size_t i = 0; i < value.size(); ++i) {
        members.insert_or_assign(std::string(value.key(i)), owned(value.element(i)));
      }
      return {std::move(members)};
    }
  }
  return {};
}

}  // namespace

bool AnyJSON::operator==(const AnyJSON& other) const { return value == other.value; }

Decoded<AnyJSON> Coding<AnyJSON>::decode(JSONValue value) { return owned(value); }

void Coding<AnyJSON>::encode(JSONWriter& writer, const AnyJSON& any) {
  std::visit(Overloaded{[&](AnyJSON::Null) { writer.null(); }, [&](const auto& known) { encodeJSON(writer, known); }},
             any.value);
}

}  // namespace lx
