#include "LXUtils/Foundation/JSONReader.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace lx {
namespace {

using Kind = JSONValue::Kind;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isWhole(double value) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  return value >= -limit && value < limit && value == std::trunc(value);
}

}  // namespace

JSONReader::JSONReader(std::string_view text)
    : begin_(text.data()), position_(text.data()), end_(text.data() + text.size()) {}

bool JSONReader::fail(DecodingFault fault) {
  if (!fault_) fault_ = fault;
  end_ = position_;
  return false;
}

void JSONReader::skipBlanks() {
  // Mostly there is none, which one comparison tells.
  while (position_ != end_ && static_cast<unsigned char>(*position_) <= ' ') {
    if (*position_ != ' ' && *position_ != '\n' && *position_ != '\r' && *position_ != '\t') return;
    ++position_;
  }
}

std::optional<Kind> JSONReader::nextKind() {
  skipBlanks();
  if (position_ != end_) {
    switch (*position_) {
      case '{':
        return Kind::object;
      case '[':
        return Kind::array;
      case '"':
        return Kind::string;
      case 't':
      case 'f':
        return Kind::boolean;
      case 'n':
        return Kind::null;
      default:
        if (*position_ == '-' || isDigit(*position_)) return Kind::number;
    }
  }
  fail();
  return std::nullopt;
}

bool JSONReader::begin(char bracket) {
  skipBlanks();
  if (position_ == end_ || *position_ != bracket) return fail();
  if (depth_ == maxDepth) return fail(DecodingFault::outOfRange);
  untouched_ |= std::uint64_t{1} << depth_++;
  ++position_;
  return true;
}

bool JSONReader::next(char bracket) {
  skipBlanks();
  if (position_ == end_) return fail();
  const std::uint64_t bit = std::uint64_t{1} << (depth_ - 1);
  if (*position_ == bracket) {
    ++position_;
    --depth_;
    untouched_ &= ~bit;
    return false;
  }
  if ((untouched_ & bit) != 0) {
    untouched_ &= ~bit;
    return true;
  }
  if (*position_ != ',') return fail();
  ++position_;
  return true;
}

bool JSONReader::beginObject() { return begin('{'); }

bool JSONReader::beginArray() { return begin('['); }

bool JSONReader::nextElement() { return next(']'); }

bool JSONReader::nextMember(std::string_view& key) {
  if (!next('}')) return false;
  skipBlanks();
  if (position_ == end_ || *position_ != '"') return fail();
  const auto text = readVerbatimString();
  if (!text && !readString(scratch_)) return false;
  key = text.value_or(std::string_view(scratch_.data(), scratch_.size()));
  skipBlanks();
  if (position_ == end_ || *position_ != ':') return fail();
  ++position_;
  return true;
}

bool JSONReader::readWord(std::string_view word) {
  if (!rest().starts_with(word)) return fail();
  position_ += word.size();
  return true;
}

bool JSONReader::readNumber(AnyJSON& out) {
  const char* const start = position_;
  const char* p = position_;
  const auto digits = [&] {
    const char* const first = p;
    while (p != end_ && isDigit(*p)) ++p;
    return p != first;
  };
  if (*p == '-') ++p;
  if (p != end_ && *p == '0') {
    ++p;
  } else if (!digits()) {
    return fail();
  }
  if (p != end_ && *p == '.') {
    ++p;
    if (!digits()) return fail();
  }
  if (p != end_ && (*p == 'e' || *p == 'E')) {
    ++p;
    if (p != end_ && (*p == '+' || *p == '-')) ++p;
    if (!digits()) return fail();
  }
  std::int64_t integer = 0;
  if (const auto [stop, error] = std::from_chars(start, p, integer); error == std::errc() && stop == p) {
    out.value = integer;
  } else {
    double real = 0;
    if (std::from_chars(start, p, real).ec != std::errc()) {
      // Both an overflow and an underflow are out of range to from_chars.
      real = std::strtod(std::string(start, p).c_str(), nullptr);
      if (!std::isfinite(real)) return fail();
    }
    if (isWhole(real)) {
      out.value = static_cast<std::int64_t>(real);
    } else {
      out.value = real;
    }
  }
  position_ = p;
  return true;
}

bool JSONReader::readAny(AnyJSON& out) {
  const auto kind = nextKind();
  if (!kind) return false;
  switch (*kind) {
    case Kind::null:
      out.value = AnyJSON::Null();
      return readWord("null");
    case Kind::boolean:
      out.value = *position_ == 't';
      return readWord(*position_ == 't' ? "true" : "false");
    case Kind::number:
      return readNumber(out);
    case Kind::string:
      return readString(out.value.emplace<std::string>());
    case Kind::array: {
      auto& elements = out.value.emplace<AnyJSON::Array>();
      if (!beginArray()) return false;
      while (nextElement()) {
        if (!readAny(elements.emplace_back())) return false;
      }
      return !fault_;
    }
    case Kind::object: {
      auto& members = out.value.emplace<AnyJSON::Object>();
      if (!beginObject()) return false;
      std::string_view key;
      while (nextMember(key)) {
        if (!readAny(members[std::string(key)])) return false;
      }
      return !fault_;
    }
  }
  return false;
}

bool JSONReader::skipValue() {
  AnyJSON ignored;
  return readAny(ignored);
}

bool JSONReader::finish() {
  skipBlanks();
  return (position_ == end_ && !fault_) || fail();
}

}  // namespace lx
