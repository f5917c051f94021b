#include "LXDelta/DeltaLines.h"

#include <algorithm>

#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

const Attributes none;

}  // namespace

DeltaLines::DeltaLines(const Delta& delta, char32_t separator) : operations_(&delta.operations()), attributes_(&none) {
  const bool isScalar = separator < 0xD800 || (separator >= 0xE000 && separator <= 0x10FFFF);
  if (!isScalar) return;
  std::string bytes;
  appendUTF8(bytes, separator);
  std::ranges::copy(bytes, separator_.begin());
  separatorSize_ = bytes.size();
}

bool DeltaLines::next() {
  // Most lines of a long text end where the one before them did.
  const auto offset = end_.offset;
  const auto end = endOfLine(text_, offset);
  if (end == 0) return nextInOtherText();
  begin_ = {end_.operation, offset};
  end_.offset = end;
  ++index_;
  return true;
}

bool DeltaLines::nextInOtherText() {
  const auto count = operations_->size();
  bool hasContent = end_.offset < text_.size();
  begin_ = end_;
  for (Position at{begin_.operation + (text_.empty() ? 0 : 1), 0}; at.operation < count; ++at.operation) {
    const auto* insert = (*operations_)[at.operation].asInsert();
    if (!insert) {
      hasContent = false;
      break;
    }
    const auto text = insert->content.text();
    if (const auto end = text ? endOfLine(*text, 0) : 0) {
      end_ = {at.operation, end};
      text_ = {text->data(), text->size()};
      attributes_ = &insert->attributes;
      ++index_;
      return true;
    }
    hasContent |= !text || !text->empty();
  }
  end_ = {count, 0};
  text_ = {};
  attributes_ = &none;
  index_ += hasContent ? 1 : 0;
  return hasContent;
}

std::size_t DeltaLines::endOfLine(std::string_view text, std::size_t offset) const {
  auto found = text.npos;
  if (separatorSize_ == 1) {
    found = text.find(separator_.front(), offset);
  } else if (separatorSize_ != 0) {
    found = text.find(std::string_view(separator_.data(), separatorSize_), offset);
  }
  return found == text.npos ? 0 : found + separatorSize_;
}

std::int64_t DeltaLines::changeLength() const {
  std::int64_t length = 0;
  eachPart([&](const Operation::Insert& insert, std::string_view part) {
    length += insert.content.text() ? static_cast<std::int64_t>(utf16Length(part)) : 1;
  });
  return length;
}

Delta DeltaLines::delta() const {
  Delta line;
  eachPart([&](const Operation::Insert& insert, std::string_view part) {
    line.insert(insert.content.text() ? Content(part) : insert.content, insert.attributes);
  });
  return line;
}

}  // namespace lx
