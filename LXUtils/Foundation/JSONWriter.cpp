#include "LXUtils/Foundation/JSONWriter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

/// The bytes that end a run that can be copied as it is: those that need an escape, and those outside ASCII, which call
/// for a look at the encoding.
constexpr std::array<bool, 256> endsPlainRun = [] {
  std::array<bool, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = byte < 0x20 || byte == '"' || byte == '\\' || byte >= 0x80;
  }
  return table;
}();

void appendEscaped(std::string& out, char c) {
  constexpr std::string_view digits = "0123456789abcdef";
  switch (c) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\b':
      out += "\\b";
      return;
    case '\f':
      out += "\\f";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      break;
  }
  const auto code = static_cast<unsigned char>(c);
  out += "\\u00";
  out += digits[code >> 4U];
  out += digits[code & 0xFU];
}

template <class... Args>
void appendNumber(std::string& out, Args... args) {
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), args...).ptr;
  out.append(digits.data(), end);
}

}  // namespace

JSONWriter::JSONWriter() {
  constexpr std::size_t usualBody = 512;
  text_.reserve(usualBody);
}

void JSONWriter::beginObject() {
  separate();
  text_ += '{';
  needsComma_ = false;
}

void JSONWriter::endObject() {
  text_ += '}';
  needsComma_ = true;
}

void JSONWriter::beginArray() {
  separate();
  text_ += '[';
  needsComma_ = false;
}

void JSONWriter::endArray() {
  text_ += ']';
  needsComma_ = true;
}

void JSONWriter::key(std::string_view key) {
  separate();
  quote(key);
  text_ += ':';
  needsComma_ = false;
}

void JSONWriter::string(std::string_view text) {
  separate();
  quote(text);
}

void JSONWriter::integer(std::int64_t value) {
  separate();
  appendNumber(text_, value);
}

void JSONWriter::number(double value) {
  if (!std::isfinite(value)) return failWith(EncodingFault::notFinite);
  const double magnitude = std::abs(value);
  constexpr double wholeLimit = 1e18;
  if (magnitude < wholeLimit && value == std::trunc(value)) return integer(static_cast<std::int64_t>(value));
  separate();
  if (magnitude >= 1e-6 && magnitude < wholeLimit) {
    appendNumber(text_, value, std::chars_format::fixed);
  } else {
    appendNumber(text_, value);
  }
}

void JSONWriter::boolean(bool value) {
  separate();
  text_ += value ? "true" : "false";
}

void JSONWriter::null() {
  separate();
  text_ += "null";
}

void JSONWriter::prependKeyToPath(std::string_view key) {
  if (error_) prependKey(error_->path, key);
}

void JSONWriter::prependIndexToPath(std::size_t index) {
  if (error_) prependIndex(error_->path, index);
}

Result<std::string> JSONWriter::finish() && {
  if (error_) return fail(std::move(*error_));
  return std::move(text_);
}

void JSONWriter::separate() {
  if (needsComma_) text_ += ',';
  needsComma_ = true;
}

void JSONWriter::quote(std::string_view text) {
  text_ += '"';
  bool isChecked = false;
  std::size_t run = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (!endsPlainRun[byte]) continue;
    if (byte >= 0x80) {
      if (!isChecked && !isValidUTF8(text)) return failWith(EncodingFault::notUTF8);
      isChecked = true;
      continue;
    }
    text_ += text.substr(run, i - run);
    appendEscaped(text_, text[i]);
    run = i + 1;
  }
  text_ += text.substr(run);
  text_ += '"';
}

void JSONWriter::failWith(EncodingFault fault) {
  if (!error_) error_ = EncodingError{{}, fault};
}

}  // namespace lx
