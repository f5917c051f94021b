#include "LXDelta/Delta.h"

#include "LXDelta/DeltaLines.h"

namespace lx {
namespace {

/// The last operation, when it is of kind T with equal attributes.
template <class T>
T* mergeable(LargeVector<Operation>& operations, const Attributes& attributes) {
  T* last = operations.empty() ? nullptr : std::get_if<T>(&operations.back().value);
  return last && last->attributes == attributes ? last : nullptr;
}

}  // namespace

Delta& Delta::insert(Content content, Attributes attributes) {
  const auto text = content.text();
  if (text && text->empty()) return *this;
  auto* last = mergeable<Operation::Insert>(operations_, attributes);
  if (text && last && last->content.text()) {
    last->content.append(*text);
  } else {
    operations_.push_back({Operation::Insert{std::move(content), std::move(attributes)}});
  }
  return *this;
}

Delta& Delta::retain(std::int64_t characters, Attributes attributes) {
  if (characters <= 0) return *this;
  if (auto* last = mergeable<Operation::Retain>(operations_, attributes)) {
    last->length = addingLengths(last->length, characters);
  } else {
    operations_.push_back({Operation::Retain{characters, std::move(attributes)}});
  }
  return *this;
}

Delta& Delta::delete_(std::int64_t characters) {
  if (characters <= 0) return *this;
  auto* last = operations_.empty() ? nullptr : std::get_if<Operation::Delete>(&operations_.back().value);
  if (last) {
    last->length = addingLengths(last->length, characters);
  } else {
    operations_.push_back({Operation::Delete{characters}});
  }
  return *this;
}

std::int64_t Delta::changeLength() const {
  std::int64_t length = 0;
  for (const auto& operation : operations_) {
    if (operation.asInsert()) length = addingLengths(length, operation.length());
    if (operation.asDelete()) length = addingLengths(length, -operation.length());
  }
  return length;
}

Result<void> Delta::eachLine(char32_t separator, const LineBody& body) const {
  DeltaLines lines(*this, separator);
  for (bool stop = false; !stop && lines.next();) {
    if (auto done = body(stop, lines.index(), lines.delta(), lines.attributes()); !done) return done;
  }
  return {};
}

}  // namespace lx
