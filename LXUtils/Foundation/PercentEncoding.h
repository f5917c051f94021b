#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lx {

/// A set of ASCII characters.
class CharacterSet {
 public:
  constexpr CharacterSet() = default;

  /// The characters of `members`; bytes outside ASCII are left out.
  constexpr explicit CharacterSet(std::string_view members) {
    for (const char member : members) {
      const auto code = static_cast<unsigned char>(member);
      if (code < 128) words_[code / 64] |= std::uint64_t{1} << (code % 64);
    }
  }

  constexpr bool contains(char character) const {
    const auto code = static_cast<unsigned char>(character);
    return code < 128 && (words_[code / 64] >> (code % 64) & 1) != 0;
  }

  constexpr bool containsAll(std::string_view text) const {
    for (const char character : text) {
      if (!contains(character)) return false;
    }
    return true;
  }

  constexpr CharacterSet operator|(const CharacterSet& other) const {
    CharacterSet result = *this;
    for (std::size_t i = 0; i < words_.size(); ++i) result.words_[i] |= other.words_[i];
    return result;
  }

  constexpr bool operator==(const CharacterSet&) const = default;

  /// The members in the order of their codes.
  std::string characters() const;

  /// RFC 3986: letters, digits and `-._~`.
  static const CharacterSet unreserved;
  /// What a host may hold: unreserved, sub-delims and `:[]`.
  static const CharacterSet urlHostAllowed;
  /// What one segment of a path may hold: unreserved, sub-delims and `:@`.
  static const CharacterSet urlPathComponentAllowed;
  /// What a path may hold: segments and slashes.
  static const CharacterSet urlPathAllowed;
  /// What a query or a fragment may hold: segments and `/?`.
  static const CharacterSet urlQueryAllowed;
  /// What user name and password may hold: unreserved and sub-delims.
  static const CharacterSet urlUserAllowed;
  /// The alphabet of verifiers and states: RFC 7636's unreserved characters.
  static const CharacterSet nonceCharacterSet;

 private:
  std::array<std::uint64_t, 2> words_{};
};

inline constexpr CharacterSet CharacterSet::unreserved{
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"};
inline constexpr CharacterSet CharacterSet::urlUserAllowed = CharacterSet::unreserved | CharacterSet("!$&'()*+,;=");
inline constexpr CharacterSet CharacterSet::urlHostAllowed = CharacterSet::urlUserAllowed | CharacterSet(":[]");
inline constexpr CharacterSet CharacterSet::urlPathComponentAllowed = CharacterSet::urlUserAllowed | CharacterSet(":@");
inline constexpr CharacterSet CharacterSet::urlPathAllowed = CharacterSet::urlPathComponentAllowed | CharacterSet("/");
inline constexpr CharacterSet CharacterSet::urlQueryAllowed =
    CharacterSet::urlPathComponentAllowed | CharacterSet("/?");
inline constexpr CharacterSet CharacterSet::nonceCharacterSet = CharacterSet::unreserved;

/// The text with every byte outside `allowed` as "%" and two upper-case hexadecimal digits.
std::string percentEncode(std::string_view text, const CharacterSet& allowed);

/// The text with its escapes as bytes; "+" stays. Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> percentDecode(std::string_view text);

}  // namespace lx
