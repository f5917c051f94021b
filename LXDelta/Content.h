#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/AnyJSON.h"
#include "LXUtils/Foundation/LargeVector.h"
#include "LXUtils/Foundation/ShortText.h"

namespace lx {

/// What an insert puts into a document: text in UTF-8, or something embedded such as {"image": address}.
class Content {
 public:
  using LongText = LargeVector<char>;

  /// Text without a character.
  Content() = default;
  Content(std::string_view text);
  Content(const std::string& text) : Content(std::string_view(text)) {}
  Content(const char* text) : Content(std::string_view(text)) {}
  explicit Content(LongText text);
  Content(AnyJSON::Object embed);

  Content(const Content& other);
  Content(Content&& other) noexcept { take(other); }
  Content& operator=(const Content& other);
  Content& operator=(Content&& other) noexcept {
    if (this == &other) return *this;
    release();
    take(other);
    return *this;
  }
  ~Content() { release(); }

  /// Nothing for an embed; and the other way round. The text is that of this object, until it changes.
  std::optional<std::string_view> text() const {
    if (isShort()) return place_.view();
    if (place_.size == embedMark) return std::nullopt;
    const auto& text = held<LongText>();
    return std::string_view(text.data(), text.size());
  }
  const AnyJSON::Object* embed() const;

  /// In UTF-16 code units; an embed is one long. Takes time in proportion to the text.
  std::int64_t length() const;

  /// Makes the text longer; this must not be an embed.
  void append(std::string_view text);

  /// Makes it a text, empty at first, for the caller to fill up to its capacity: a copy takes as long as reading it.
  ShortText& resetToShortText() {
    release();
    return place_ = {};
  }

  friend bool operator==(const Content& a, const Content& b);

 private:
  // Embeds are rare, so they must not make each text larger.
  using Embed = std::shared_ptr<const AnyJSON::Object>;

  // What is larger lies in the place of a short text's bytes, with one of these for its size.
  static constexpr std::uint8_t longTextMark = 32;
  static constexpr std::uint8_t embedMark = 33;

  bool isShort() const { return place_.size < longTextMark; }

  template <class Held>
  Held& held() {
    return *std::launder(reinterpret_cast<Held*>(place_.bytes.data()));
  }
  template <class Held>
  const Held& held() const {
    return *std::launder(reinterpret_cast<const Held*>(place_.bytes.data()));
  }
  template <class Held>
  void hold(Held value, std::uint8_t mark);

  void take(Content& other) noexcept {
    if (other.isShort()) {
      place_ = other.place_;
    } else {
      takeHeld(other);
    }
  }
  void takeHeld(Content& other) noexcept;
  void release() noexcept {
    if (!isShort()) releaseHeld();
  }
  void releaseHeld() noexcept;

  alignas(void*) ShortText place_;
};

}  // namespace lx
