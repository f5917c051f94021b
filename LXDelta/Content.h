#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "LXUtils/Foundation/AnyJSON.h"

namespace lx {

/// A text kept without memory of its own: most runs of text are short.
struct ShortText {
  std::array<char, 31> bytes{};
  std::uint8_t size = 0;

  std::string_view view() const { return {bytes.data(), size}; }
};

/// What an insert puts into a document: text in UTF-8, or something embedded such as {"image": address}.
class Content {
 public:
  /// Text without a character.
  Content() = default;
  Content(std::string text) : value_(std::move(text)) {}
  Content(std::string_view text);
  Content(const char* text) : Content(std::string_view(text)) {}
  Content(AnyJSON::Object embed) : value_(std::make_shared<const AnyJSON::Object>(std::move(embed))) {}

  /// Nothing for an embed; and the other way round. The text is that of this object, until it changes.
  std::optional<std::string_view> text() const {
    if (const auto* shortText = std::get_if<ShortText>(&value_)) return shortText->view();
    const auto* longText = std::get_if<std::string>(&value_);
    return longText ? std::optional<std::string_view>(*longText) : std::nullopt;
  }
  const AnyJSON::Object* embed() const {
    const auto* embed = std::get_if<Embed>(&value_);
    return embed ? embed->get() : nullptr;
  }

  /// In UTF-16 code units; an embed is one long. Takes time in proportion to the text.
  std::int64_t length() const;

  /// Makes the text longer; this must not be an embed.
  void append(std::string_view text);

  /// Makes it a text, empty at first, for the caller to fill.
  std::string& resetText() { return value_.emplace<std::string>(); }

  friend bool operator==(const Content& a, const Content& b);

 private:
  // Embeds are rare, so they must not make each text larger.
  using Embed = std::shared_ptr<const AnyJSON::Object>;
  std::variant<ShortText, std::string, Embed> value_;
};

}  // namespace lx
