#include "LXTesting/Backend/JSONInternal.h"

namespace lx::backend {

std::optional<json::value> parsedJSON(std::string_view text) {
  boost::system::error_code error;
  auto value = json::parse(text, error);
  return error ? std::nullopt : std::optional(std::move(value));
}

std::optional<std::string> textField(const json::object& object, std::string_view key) {
  const auto* value = object.if_contains(key);
  const auto* text = value ? value->if_string() : nullptr;
  return text && !text->empty() ? std::optional(std::string(*text)) : std::nullopt;
}

ServerResponse jsonResponse(int status, const json::value& value) {
  return {.status = status,
          .contentType = "application/json; charset=utf-8",
          .body = json::serialize(value),
          .headers = {{"Cache-Control", "no-store"}}};
}

ServerResponse errorResponse(int status, std::string_view error, std::string_view message) {
  return jsonResponse(status, json::object{{"error", error}, {"message", message}});
}

}  // namespace lx::backend
