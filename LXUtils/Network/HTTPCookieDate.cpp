#include <algorithm>
#include <array>
#include <charconv>

#include "LXUtils/Network/HTTPCookie.h"
#include "LXUtils/Network/HTTPHeaders.h"

namespace lx {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isDelimiter(char c) {
  return c == '\t' || (c >= ' ' && c <= '/') || (c >= ';' && c <= '@') || (c >= '[' && c <= '`') ||
         (c >= '{' && c <= '~');
}

/// Takes a number of `fewest` to `most` digits off the front. It may not go on with a digit.
std::optional<int> takeNumber(std::string_view& text, std::size_t fewest, std::size_t most) {
  const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
  if (digits < fewest || digits > most) return std::nullopt;
  int number = 0;
  std::from_chars(text.data(), text.data() + digits, number);
  text.remove_prefix(digits);
  return number;
}

std::optional<std::chrono::seconds> timeOfDay(std::string_view token) {
  std::array<int, 3> parts{};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) {
      if (!token.starts_with(':')) return std::nullopt;
      token.remove_prefix(1);
    }
    const auto part = takeNumber(token, 1, 2);
    if (!part) return std::nullopt;
    parts[i] = *part;
  }
  // Out of range is a fault of the date, not another kind of token; it is told by a time beyond the day.
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return std::chrono::days(1);
  return std::chrono::hours(parts[0]) + std::chrono::minutes(parts[1]) + std::chrono::seconds(parts[2]);
}

std::optional<unsigned> monthNumber(std::string_view token) {
  constexpr std::array<std::string_view, 12> names{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const auto found =
      std::ranges::find_if(names, [&](auto name) { return equalIgnoringCase(token.substr(0, 3), name); });
  if (found == names.end()) return std::nullopt;
  return static_cast<unsigned>(found - names.begin()) + 1;
}

int withCentury(int year) {
  if (year >= 70 && year <= 99) return year + 1900;
  return year < 70 ? year + 2000 : year;
}

}  // namespace

std::optional<Date> HTTPCookie::parseDate(std::string_view text) {
  std::optional<std::chrono::seconds> time;
  std::optional<int> day;
  std::optional<unsigned> month;
  std::optional<int> year;
  for (auto rest = text; !rest.empty();) {
    const auto begin = std::ranges::find_if_not(rest, isDelimiter);
    const auto end = std::find_if(begin, rest.end(), isDelimiter);
    const std::string_view token(begin, end);
    rest = std::string_view(end, rest.end());
    // The first token of each kind counts, tried in this order.
    auto numeric = token;
    if (!time && (time = timeOfDay(token))) continue;
    if (!day && (day = takeNumber(numeric, 1, 2))) continue;
    if (!month && (month = monthNumber(token))) continue;
    if (!year) year = takeNumber(numeric, 2, 4);
  }
  if (!time || !day || !month || !year || *time >= std::chrono::days(1)) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(withCentury(*year)), std::chrono::month(*month),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  if (!date.ok() || date.year() < std::chrono::year(1601)) return std::nullopt;
  return std::chrono::sys_days(date) + *time;
}

}  // namespace lx
