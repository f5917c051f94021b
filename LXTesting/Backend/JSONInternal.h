#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json.hpp>

#include "LXTesting/Backend/MessagesInternal.h"

namespace lx::backend {

namespace json = boost::json;

/// The value of a JSON text; nothing when it is not JSON.
std::optional<json::value> parsedJSON(std::string_view text);

/// The non-empty text under a key.
std::optional<std::string> textField(const json::object& object, std::string_view key);

ServerResponse jsonResponse(int status, const json::value& value);

/// An error in the form that clients of every generation read: a "message" for people, an "error" for programs.
ServerResponse errorResponse(int status, std::string_view error, std::string_view message);

}  // namespace lx::backend
