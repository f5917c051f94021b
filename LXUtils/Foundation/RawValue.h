#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace lx {

/// One row of the table of a closed string enumeration.
template <class E>
struct RawValueRow {
  E value;
  std::string_view text;
};

/// The table of a closed string enumeration; its rows drive both directions:
///
///     template <> struct RawValues<Level> {
///       static constexpr std::array rows{RawValueRow{Level::low, "LOW"}, RawValueRow{Level::high, "HIGH"}};
///     };
template <class E>
struct RawValues;

template <class E>
concept ClosedStringEnum = requires { RawValues<E>::rows; };

/// The text of a value on the wire.
template <ClosedStringEnum E>
constexpr std::string_view rawValue(E value) {
  for (const auto& row : RawValues<E>::rows) {
    if (row.value == value) return row.text;
  }
  return {};
}

/// The value whose text equals `text` exactly.
template <ClosedStringEnum E>
constexpr std::optional<E> fromRawValue(std::string_view text) {
  for (const auto& row : RawValues<E>::rows) {
    if (row.text == text) return row.value;
  }
  return std::nullopt;
}

/// All values of an enumeration, in the order of its table.
template <ClosedStringEnum E>
constexpr auto allCases() {
  std::array<E, RawValues<E>::rows.size()> cases{};
  for (std::size_t i = 0; i < cases.size(); ++i) cases[i] = RawValues<E>::rows[i].value;
  return cases;
}

}  // namespace lx
