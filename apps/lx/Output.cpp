#include "lx/Output.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <unistd.h>

#include "lx/ToolError.h"

namespace lx::tool {
namespace {

using Row = std::pair<std::string, std::string>;

std::string scalar(JSONValue value) {
  if (const auto text = value.asString()) return printable(*text);
  if (const auto flag = value.asBool()) return *flag ? "yes" : "no";
  if (const auto number = value.asInt64()) return std::to_string(*number);
  if (const auto number = value.asDouble()) return std::to_string(*number);
  return "-";
}

bool isScalar(JSONValue value) {
  return value.kind() != JSONValue::Kind::array && value.kind() != JSONValue::Kind::object;
}

// A row for each value inside: nested members are named from the outside in, lists of plain values fill one row.
void addRows(const std::string& name, JSONValue value, std::vector<Row>& rows) {
  if (isScalar(value)) {
    rows.emplace_back(name, scalar(value));
    return;
  }
  const bool isArray = value.kind() == JSONValue::Kind::array;
  std::string list;
  for (std::size_t index = 0; index < value.size(); ++index) {
    const auto element = value.element(index);
    if (!isArray) {
      const auto key = printable(value.key(index));
      addRows(name.empty() ? key : name + "." + key, element, rows);
    } else if (isScalar(element)) {
      list.append(list.empty() ? "" : ", ").append(scalar(element));
    } else {
      addRows(name + "[" + std::to_string(index) + "]", element, rows);
    }
  }
  if (!list.empty()) rows.emplace_back(name, list);
}

std::string table(const std::vector<Row>& rows, const Style& style) {
  std::size_t width = 0;
  for (const auto& [name, value] : rows) width = std::max(width, name.size());
  std::string text;
  for (const auto& [name, value] : rows) {
    text.append(style.dim(name)).append(width - name.size() + 2, ' ').append(value).append("\n");
  }
  return text;
}

bool print(std::FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

Result<void> printOut(std::string_view text) {
  if (print(stdout, text)) return {};
  return fail(ToolError{ToolError::Kind::output, "Standard output cannot be written"});
}

}  // namespace

void ObjectWriter::text(std::string_view key, std::string_view value) {
  writer_.key(key);
  writer_.string(value);
}

void ObjectWriter::texts(std::string_view key, const std::vector<std::string>& values) {
  writer_.key(key);
  writer_.beginArray();
  for (const auto& value : values) writer_.string(value);
  writer_.endArray();
}

void ObjectWriter::secret(std::string_view key, std::string_view value) { text(key, reveal_ ? value : "<redacted>"); }

void ObjectWriter::integer(std::string_view key, std::int64_t value) {
  writer_.key(key);
  writer_.integer(value);
}

void ObjectWriter::boolean(std::string_view key, bool value) {
  writer_.key(key);
  writer_.boolean(value);
}

void ObjectWriter::null(std::string_view key) {
  writer_.key(key);
  writer_.null();
}

void ObjectWriter::date(std::string_view key, Date value) { text(key, rfc3339(value)); }

void ObjectWriter::object(std::string_view key, const Members& members) {
  writer_.key(key);
  writer_.beginObject();
  members(*this);
  writer_.endObject();
}

void ObjectWriter::members(const OAuth2Credentials& credentials) {
  secret("accessToken", credentials.accessToken);
  secret("refreshToken", credentials.refreshToken);
  date("expirationDate", credentials.expirationDate);
}

void ObjectWriter::members(const OAuth2AuthDTO& authDTO) {
  object("oauth2Credentials", [&](ObjectWriter& out) { out.members(authDTO.oauth2Credentials); });
  object("deviceAuthData", [&](ObjectWriter& out) {
    // It goes over the wire as a cookie and lets a device skip a check, so it counts as a secret.
    if (const auto& identifier = authDTO.deviceAuthData.trustedDeviceID) out.secret("trustedDeviceID", *identifier);
  });
}

void ObjectWriter::members(const Error& error) {
  text("type", error.typeName());
  if (const auto code = error.code()) {
    text("code", *code);
  } else {
    null("code");
  }
  text("message", error.description());
}

Style Style::of(int descriptor) {
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return Style(isatty(descriptor) && !(noColor && *noColor) && terminal && std::string_view(terminal) != "dumb");
}

std::string Style::wrapped(const char* code, std::string_view text) const {
  std::string result;
  if (!colours_) return result.append(text);
  return result.append("\033[").append(code).append("m").append(text).append("\033[0m");
}

Output::Output(bool json, bool reveal) : json_(json), reveal_(reveal), style_(Style::of(STDOUT_FILENO)) {}

Result<std::string> Output::encoded(const Members& members) const {
  JSONWriter writer;
  ObjectWriter out(writer, reveal_);
  writer.beginObject();
  members(out);
  writer.endObject();
  return std::move(writer).finish();
}

Result<void> Output::object(const Members& members) const {
  auto text = encoded(members);
  if (!text) return fail(text.error());
  if (json_) return printOut(text->append("\n"));
  const auto document = JSONDocument::parseInPlace(*text);
  if (!document) return fail(document.error());
  std::vector<Row> rows;
  addRows("", document->root(), rows);
  return printOut(table(rows, style_));
}

Result<void> Output::value(std::string_view key, std::string_view value) const {
  if (json_) return object([&](ObjectWriter& out) { out.text(key, value); });
  return printOut(printable(value) + "\n");
}

Result<void> Output::event(const Members& members, std::string_view text) const {
  return json_ ? object(members) : say(text);
}

Result<void> Output::say(std::string_view text) const {
  return json_ ? Result<void>() : printOut(std::string(text).append("\n"));
}

void Output::failure(const Error& error, std::string_view hint) const {
  if (json_) {
    const auto text =
        encoded([&](ObjectWriter& out) { out.object("error", [&](ObjectWriter& inner) { inner.members(error); }); });
    // A description that is not UTF-8 must not hide that there was an error.
    print(stderr, text.value_or(R"({"error":{"type":")" + error.typeName() + R"(","code":null,"message":""}})") + "\n");
    return;
  }
  const auto style = Style::of(STDERR_FILENO);
  const auto code = error.code();
  std::string text = style.red("lx: ") + printable(error.description());
  text += " " + style.dim("(" + error.typeName() + (code ? ", " + *code : "") + ")") + "\n";
  if (!hint.empty()) text.append("    ").append(printable(hint)).append("\n");
  print(stderr, text);
}

}  // namespace lx::tool
