#include "LXDelta/DeltaLines.h"

#include <algorithm>

#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

const std::optional<Attributes> absent;

}  // namespace

DeltaLines::DeltaLines(const Delta& delta, char32_t separator)
    : operations_(&delta.operations()), attributes_(&absent) {
  const bool isScalar = separator < 0xD800 || (separator >= 0xE000 && separator <= 0x10FFFF);
  if (!isScalar) return;
  std::string bytes;
  appendUTF8(bytes, separator);
  std::ranges::copy(bytes, separator_.begin());
  separatorSize_ = bytes.size();
}

bool DeltaLines::next() {
  const std::string_view separator(separator_.data(), separatorSize_);
  const auto count = operations_->size();
  begin_ = end_;
  bool hasContent = false;
  for (Position at = begin_; at.operation < count; at = {at.operation + 1, 0}) {
    const auto* insert = (*operations_)[at.operation].asInsert();
    if (!insert) {
      end_ = {count, 0};
      return false;
    }
    const auto text = insert->content.text();
    if (!text) {
      hasContent = true;
      continue;
    }
    auto found = text->npos;
    if (separator.size() == 1) {
      found = text->find(separator.front(), at.offset);
    } else if (!separator.empty()) {
      found = text->find(separator, at.offset);
    }
    if (found != text->npos) {
      end_ = {at.operation, found + separator.size()};
      attributes_ = &insert->attributes;
      ++index_;
      return true;
    }
    hasContent |= at.offset < text->size();
  }
  end_ = {count, 0};
  if (!hasContent) return false;
  attributes_ = &absent;
  ++index_;
  return true;
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
