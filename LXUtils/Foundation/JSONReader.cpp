#include "LXUtils/Foundation/JSONReader.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "LXUtils/Foundation/LargeVector.h"
#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

using Kind = JSONValue::Kind;

/// Of a string that is not worth more than the simplest way to read it.
constexpr std::size_t shortString = 1024;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

constexpr bool isPlain(char c) { return static_cast<signed char>(c) >= 0x20 && c != '"' && c != '\\'; }

#ifdef __SSE2__
constexpr std::size_t block = 16;

/// A bit, from the lowest on, for each byte of the block that is not plain.
unsigned specialBytes(const char* text) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  // As signed numbers, bytes outside ASCII are below the control characters' end, too.
  const __m128i special =
      _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)),
                   _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))));
  return static_cast<unsigned>(_mm_movemask_epi8(special));
}

void copyBlock(const char* from, char* to) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}
#endif

/// The first byte that is not plain text: a quote, a backslash, a control character or the lead of a longer sequence.
const char* endOfPlainText(const char* text, const char* end) {
#ifdef __SSE2__
  for (; static_cast<std::size_t>(end - text) >= block; text += block) {
    if (const unsigned special = specialBytes(text)) return text + std::countr_zero(special);
  }
#endif
  while (text != end && isPlain(*text)) ++text;
  return text;
}

/// The length of the character outside ASCII that the text begins with; 0 when it begins with none.
std::size_t longSequenceLength(const char* text, const char* end) {
  const auto isTail = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
  const auto lead = static_cast<unsigned char>(*text);
  // Two and three bytes without special bounds are what there is most of.
  if (lead >= 0xC2 && lead <= 0xDF && end - text >= 2 && isTail(text[1])) return 2;
  if (lead >= 0xE1 && lead <= 0xEC && end - text >= 3 && isTail(text[1]) && isTail(text[2])) return 3;
  return lead < 0x80 ? 0 : utf8SequenceLength({text, static_cast<std::size_t>(end - text)});
}

/// The end of the well-formed characters outside ASCII that the text begins with.
const char* endOfLongSequences(const char* text, const char* end) {
  while (text != end && static_cast<unsigned char>(*text) >= 0x80) {
    const std::size_t length = longSequenceLength(text, end);
    if (length == 0) break;
    text += length;
  }
  return text;
}

/// The character that a backslash with this letter stands for; NUL for a letter without meaning.
constexpr char shortEscape(char letter) {
  switch (letter) {
    case 'n':
      return '\n';
    case '"':
    case '\\':
    case '/':
      return letter;
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return '\0';
  }
}

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
  const char* const text = position_ + 1;
  const char* const end = endOfPlainText(text, end_);
  if (end != end_ && *end == '"') {
    key = {text, static_cast<std::size_t>(end - text)};
    position_ = end + 1;
  } else {
    if (!readString(keyScratch_)) return false;
    key = keyScratch_;
  }
  skipBlanks();
  if (position_ == end_ || *position_ != ':') return fail();
  ++position_;
  return true;
}

bool JSONReader::readString(std::string& out) {
  skipBlanks();
  if (position_ == end_ || *position_ != '"') return fail();
  const char* text = ++position_;
  out.clear();
  while (true) {
    position_ = endOfPlainText(position_, end_);
    if (position_ == end_) return fail();
    if (*position_ == '"') {
      out.append(text, position_++);
      return true;
    }
    if (*position_ == '\\') {
      out.append(text, position_);
      if (!readEscape(out)) return false;
      if (out.size() >= shortString) readBlocks(out);
      text = position_;
    } else {
      const char* const next = endOfLongSequences(position_, end_);
      if (next == position_) return fail();
      position_ = next;
    }
  }
}

#ifdef __SSE2__
void JSONReader::readBlocks(std::string& out) {
  // A long text grows once, to its end, instead of being copied over and over. Where the quote found is an escaped one,
  // this comes again, so the text at least doubles.
  const auto used = out.size();
  if (out.capacity() - used < 2 * block) {
    const auto left = static_cast<std::size_t>(end_ - position_);
    const auto* quote = static_cast<const char*>(std::memchr(position_, '"', left));
    out.reserve(std::max(2 * used, used + 2 * block + (quote ? static_cast<std::size_t>(quote - position_) : left)));
    preferLargePages(out.data(), out.capacity());
  }
  out.resize_and_overwrite(out.capacity(), [&](char* buffer, std::size_t room) {
    char* to = buffer + used;
    // One block more than is written is left, for what follows a special byte.
    const char* const lastTo = buffer + room - 2 * block;
    while (to <= lastTo && rest().size() >= 2 * block) {
      copyBlock(position_, to);
      const unsigned special = specialBytes(position_);
      if (special == 0) {
        position_ += block;
        to += block;
        continue;
      }
      const int plain = std::countr_zero(special);
      position_ += plain;
      to += plain;
      if (*position_ == '\\') {
        *to = shortEscape(position_[1]);
        if (*to == '\0') break;
        ++to;
        position_ += 2;
      } else {
        const std::size_t length = longSequenceLength(position_, end_);
        if (length == 0) break;  // also the end of the string
        std::memcpy(to, position_, 4);
        to += length;
        position_ += length;
      }
    }
    return static_cast<std::size_t>(to - buffer);
  });
}
#else
void JSONReader::readBlocks(std::string&) {}
#endif

std::optional<std::string_view> JSONReader::readVerbatimString() {
  if (!comesNext('"')) return std::nullopt;
  const char* const text = position_ + 1;
  const char* end = text;
  while (true) {
    end = endOfPlainText(end, end_);
    if (end == end_ || *end == '\\') return std::nullopt;
    if (*end == '"') break;
    const char* const next = endOfLongSequences(end, end_);
    if (next == end) return std::nullopt;
    end = next;
  }
  position_ = end + 1;
  return std::string_view(text, static_cast<std::size_t>(end - text));
}

bool JSONReader::readEscape(std::string& out) {
  if (end_ - position_ < 2) return fail();
  if (const char meaning = shortEscape(position_[1])) {
    out += meaning;
    position_ += 2;
    return true;
  }
  char32_t unit = 0;
  if (!readHex(unit)) return false;
  const bool isLeading = unit >= 0xD800 && unit < 0xDC00;
  if (unit >= 0xDC00 && unit < 0xE000) return fail();
  if (isLeading) {
    char32_t trailing = 0;
    if (!readHex(trailing)) return false;
    if (trailing < 0xDC00 || trailing >= 0xE000) return fail();
    unit = 0x10000 + ((unit - 0xD800) << 10U) + (trailing - 0xDC00);
  }
  appendUTF8(out, unit);
  return true;
}

bool JSONReader::readHex(char32_t& unit) {
  constexpr std::ptrdiff_t size = 6;  // of \uXXXX
  if (end_ - position_ < size || position_[0] != '\\' || position_[1] != 'u') return fail();
  std::uint32_t value = 0;
  const auto [stop, error] = std::from_chars(position_ + 2, position_ + size, value, 16);
  if (error != std::errc() || stop != position_ + size) return fail();
  unit = value;
  position_ += size;
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
