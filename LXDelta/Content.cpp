#include "LXDelta/Content.h"

#include <algorithm>
#include <new>
#include <utility>

#include "LXUtils/Foundation/UTF8.h"

namespace lx {

template <class Held>
void Content::hold(Held value, std::uint8_t mark) {
  static_assert(sizeof(Held) <= sizeof place_.bytes && alignof(Held) <= alignof(void*));
  ::new (static_cast<void*>(place_.bytes.data())) Held(std::move(value));
  place_.size = mark;
}

Content::Content(std::string_view text) {
  if (text.size() > place_.bytes.size()) {
    hold(LongText(text.begin(), text.end()), longTextMark);
  } else {
    std::ranges::copy(text, place_.bytes.begin());
    place_.size = static_cast<std::uint8_t>(text.size());
  }
}

Content::Content(LongText text) {
  if (text.size() > place_.bytes.size()) {
    hold(std::move(text), longTextMark);
  } else {
    *this = Content(std::string_view(text.data(), text.size()));
  }
}

Content::Content(AnyJSON::Object embed) { hold(std::make_shared<const AnyJSON::Object>(std::move(embed)), embedMark); }

Content::Content(const Content& other) {
  if (other.place_.size == longTextMark) {
    hold(LongText(other.held<LongText>()), longTextMark);
  } else if (other.place_.size == embedMark) {
    hold(Embed(other.held<Embed>()), embedMark);
  } else {
    place_ = other.place_;
  }
}

Content& Content::operator=(const Content& other) {
  if (this != &other) *this = Content(other);
  return *this;
}

void Content::takeHeld(Content& other) noexcept {
  if (other.place_.size == longTextMark) {
    hold(std::move(other.held<LongText>()), longTextMark);
  } else {
    hold(std::move(other.held<Embed>()), embedMark);
  }
  other.releaseHeld();
  other.place_ = {};
}

void Content::releaseHeld() noexcept {
  if (place_.size == longTextMark) {
    std::destroy_at(&held<LongText>());
  } else {
    std::destroy_at(&held<Embed>());
  }
}

const AnyJSON::Object* Content::embed() const { return place_.size == embedMark ? held<Embed>().get() : nullptr; }

void Content::append(std::string_view text) {
  if (isShort()) {
    *this = Content(std::string(place_.view()).append(text));
    return;
  }
  auto& own = held<LongText>();
  if (own.capacity() - own.size() >= text.size()) {
    own.insert(own.end(), text.begin(), text.end());
    return;
  }
  // The text may be a piece of this one, which therefore stays until all is copied.
  LongText longer;
  longer.reserve(std::max(2 * own.size(), own.size() + text.size()));
  longer.insert(longer.end(), own.begin(), own.end());
  longer.insert(longer.end(), text.begin(), text.end());
  own = std::move(longer);
}

std::int64_t Content::length() const {
  const auto own = text();
  return own ? static_cast<std::int64_t>(utf16Length(*own)) : 1;
}

bool operator==(const Content& a, const Content& b) {
  if (a.embed() && b.embed()) return *a.embed() == *b.embed();
  return a.text() == b.text();
}

}  // namespace lx
