#pragma once

#include <array>

#include "LXUtils/Foundation/RawValue.h"

namespace lx {

/// The vocabulary of the user request's query.
struct UserRequestQuery {
  enum class Parameter { customField };
  enum class Value { role };
};

template <>
struct RawValues<UserRequestQuery::Parameter> {
  static constexpr std::array rows{RawValueRow{UserRequestQuery::Parameter::customField, "field"}};
};

template <>
struct RawValues<UserRequestQuery::Value> {
  static constexpr std::array rows{RawValueRow{UserRequestQuery::Value::role, "frontend_role"}};
};

}  // namespace lx
