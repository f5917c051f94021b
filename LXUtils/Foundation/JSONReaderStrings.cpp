#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

#include "LXUtils/Foundation/JSONReader.h"
#include "LXUtils/Foundation/JSONTextInternal.h"
#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

/// The length of the character outside ASCII that the text begins with; 0 when it begins with none.
std::size_t longSequenceLength(const char* text, const char* end) {
  return static_cast<unsigned char>(*text) < 0x80 ? 0
                                                  : utf8SequenceLength({text, static_cast<std::size_t>(end - text)});
}

/// The first byte that is no plain text in well-formed UTF-8: a quote, a backslash, a control character or a fault.
const char* endOfPlainText(const char* text, const char* end) {
  while (true) {
    while (static_cast<std::size_t>(end - text) >= jsonTextBlock) {
      const unsigned plain = plainTextInBlock(text);
      text += plain;
      if (plain < jsonTextBlock) break;
    }
    while (text != end && isPlain(*text)) ++text;
    const std::size_t length = text == end ? 0 : longSequenceLength(text, end);
    if (length == 0) return text;
    text += length;
  }
}

/// The character that a backslash with this letter stands for; NUL for a letter without meaning.
constexpr char shortEscape(char letter) {
  // Nearly all escapes are those of lines.
  if (letter == 'n') return '\n';
  switch (letter) {
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

}  // namespace

bool JSONReader::readString(std::string& out) {
  skipBlanks();
  if (const auto text = readVerbatimString()) {
    out.assign(*text);
    return true;
  }
  if (!readString(scratch_)) return false;
  out.assign(scratch_.begin(), scratch_.end());
  return true;
}

bool JSONReader::readString(LargeVector<char>& out) {
  skipBlanks();
  if (position_ == end_ || *position_ != '"') return fail();
  ++position_;
  out.clear();
  while (true) {
    readBlocks(out);
    const char* const text = std::exchange(position_, endOfPlainText(position_, end_));
    out.insert(out.end(), text, position_);
    if (position_ == end_) return fail();
    if (*position_ == '"') {
      ++position_;
      return true;
    }
    if (*position_ != '\\') return fail();
    if (!readEscape(out)) return false;
  }
}

void JSONReader::readBlocks(LargeVector<char>& out) {
  // A long text grows once, to its end, instead of being copied over and over. Where the quote found is an escaped one,
  // this comes again, so the text at least doubles.
  const auto used = out.size();
  if (out.capacity() - used < 2 * jsonTextBlock) {
    const auto* quote = static_cast<const char*>(std::memchr(position_, '"', rest().size()));
    const auto left = quote ? static_cast<std::size_t>(quote - position_) : rest().size();
    out.reserve(std::max(2 * used, used + 2 * jsonTextBlock + left));
  }
  // Room is opened by and by: it may be closed again after a few characters.
  bool isFull = true;
  for (std::size_t room = 256; isFull && out.capacity() - out.size() >= 2 * jsonTextBlock; room *= 2) {
    const auto before = out.size();
    out.resize(std::min(before + room, out.capacity()));
    const char* const end = copyText(out.data() + before, out.data() + out.size());
    isFull = out.data() + out.size() - end < std::ptrdiff_t{2 * jsonTextBlock};
    out.resize(static_cast<std::size_t>(end - out.data()));
  }
}

bool JSONReader::readShortString(ShortText& out) {
  static_assert(sizeof out == 2 * jsonTextBlock);
  if (!comesNext('"') || rest().size() < sizeof out + jsonTextBlock) return false;
  const char* const text = position_ + 1;
  auto* const to = reinterpret_cast<char*>(&out);  // its size is written over and set at the end
  std::size_t size = 0;
  const char* end = text;
  if (text[0] == '\\' && text[1] == 'n' && text[2] == '"') {
    // The end of a line, which has attributes of its own in many documents.
    *to = '\n';
    size = 1;
    end = text + 2;
  } else {
    copyBlock(text, to);
    size = plainTextInBlock(text);
    if (size == jsonTextBlock) {
      copyBlock(text + jsonTextBlock, to + jsonTextBlock);
      size += plainTextInBlock(text + jsonTextBlock);
    }
    end = text + size;
    if (size > ShortText::capacity || *end != '"') return readUnusualShortString(out);
  }
  out.size = static_cast<std::uint8_t>(size);
  position_ = end + 1;
  return true;
}

bool JSONReader::readUnusualShortString(ShortText& out) {
  const char* const begin = position_++;
  std::array<char, sizeof out + 2 * jsonTextBlock> text;
  const auto size = static_cast<std::size_t>(copyText(text.data(), text.data() + text.size()) - text.data());
  const bool isWhole = size <= ShortText::capacity && comesNext('"');
  out = {};
  if (isWhole) std::memcpy(out.bytes.data(), text.data(), size);
  out.size = isWhole ? static_cast<std::uint8_t>(size) : 0;
  position_ = isWhole ? position_ + 1 : begin;
  return isWhole;
}

char* JSONReader::copyText(char* to, const char* endOfRoom) {
  to = copyWindows(to, endOfRoom);
  // One block more than is written is left on both sides, for what follows.
  while (endOfRoom - to >= std::ptrdiff_t{2 * jsonTextBlock} && rest().size() >= 2 * jsonTextBlock) {
    copyBlock(position_, to);
    const unsigned plain = plainTextInBlock(position_);
    position_ += plain;
    to += plain;
    if (plain == jsonTextBlock) continue;
    if (*position_ == '"') break;
    if (*position_ == '\\') {
      *to = shortEscape(position_[1]);
      if (*to == '\0') break;
      ++to;
      position_ += 2;
    } else if (plain == 0) {
      const std::size_t length = longSequenceLength(position_, end_);
      if (length == 0) break;
      std::memcpy(to, position_, 4);
      to += length;
      position_ += length;
    }
  }
  return to;
}

char* JSONReader::copyWindows(char* to, [[maybe_unused]] const char* endOfRoom) {
#ifdef __SSE2__
  const auto copyWindow = [](const char* from, char* into) {
    for (std::size_t i = 0; i < TextWindow::size; i += jsonTextBlock) copyBlock(from + i, into + i);
  };
  while (endOfRoom - to >= std::ptrdiff_t{2 * TextWindow::size} && rest().size() > 2 * TextWindow::size) {
    const TextWindow window(position_);
    const unsigned end = wholeCharacters(window, TextWindow::size);
    if (end == 0) break;
    unsigned done = 0;
    for (ByteBits stops = window.stops() & firstBytes(end); stops != 0;) {
      const auto stop = static_cast<unsigned>(std::countr_zero(stops));
      copyWindow(position_ + done, to);
      to += stop - done;
      const char meaning = position_[stop] == '\\' ? shortEscape(position_[stop + 1]) : '\0';
      if (meaning == '\0') {
        position_ += stop;
        return to;
      }
      *to++ = meaning;
      done = stop + 2;
      stops &= ~(ByteBits{3} << stop);
    }
    if (done < end) {
      copyWindow(position_ + done, to);
      to += end - done;
      done = end;
    }
    position_ += done;
  }
#endif
  return to;
}

std::optional<std::string_view> JSONReader::readVerbatimString() {
  if (!comesNext('"')) return std::nullopt;
  const char* const text = position_ + 1;
  const char* const end = endOfPlainText(text, end_);
  if (end == end_ || *end != '"') return std::nullopt;
  position_ = end + 1;
  return std::string_view(text, static_cast<std::size_t>(end - text));
}

bool JSONReader::readEscape(LargeVector<char>& out) {
  if (end_ - position_ < 2) return fail();
  if (const char meaning = shortEscape(position_[1])) {
    out.push_back(meaning);
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
  std::string sequence;
  appendUTF8(sequence, unit);
  out.insert(out.end(), sequence.begin(), sequence.end());
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

}  // namespace lx
