#pragma once

#include <string_view>

namespace lx {

/// The vocabulary of the user request's query.
struct UserRequestQuery {
  enum class Parameter { customField };
  enum class Value { role };
};

constexpr std::string_view rawValue(UserRequestQuery::Parameter parameter) {
  switch (parameter) {
    case UserRequestQuery::Parameter::customField:
      return "field";
  }
  return {};
}

constexpr std::string_view rawValue(UserRequestQuery::Value value) {
  switch (value) {
    case UserRequestQuery::Value::role:
      return "frontend_role";
  }
  return {};
}

}  // namespace lx
