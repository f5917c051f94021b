#include "LXUtils/Foundation/Date.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace lx {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hh_mm_ss;
using std::chrono::microseconds;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::array<std::string_view, 7> weekdayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> monthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// The instants with a year of four digits, all that the formats can write.
constexpr Date earliestWritten =
    sys_days(year_month_day(std::chrono::year(0), std::chrono::January, std::chrono::day(1)));
constexpr Date endOfWritten =
    sys_days(year_month_day(std::chrono::year(10'000), std::chrono::January, std::chrono::day(1)));

/// An instant taken apart; one that cannot be written counts as the nearest that can.
struct Parts {
  explicit Parts(Date date)
      : instant(std::clamp(date, earliestWritten, endOfWritten - microseconds(1))),
        day(floor<days>(instant)),
        calendar(day),
        time(instant - day) {}

  Date instant;
  sys_days day;
  year_month_day calendar;
  hh_mm_ss<microseconds> time;
};

void appendDigits(std::string& out, std::int64_t value, std::size_t width) {
  const std::string digits = std::to_string(value);
  out.append(width > digits.size() ? width - digits.size() : 0, '0');
  out += digits;
}

void appendDay(std::string& out, const year_month_day& calendar) {
  appendDigits(out, int{calendar.year()}, 4);
  out += '-';
  appendDigits(out, unsigned{calendar.month()}, 2);
  out += '-';
  appendDigits(out, unsigned{calendar.day()}, 2);
}

void appendTime(std::string& out, const hh_mm_ss<microseconds>& time) {
  appendDigits(out, time.hours().count(), 2);
  out += ':';
  appendDigits(out, time.minutes().count(), 2);
  out += ':';
  appendDigits(out, time.seconds().count(), 2);
}

/// Reads a text from its front; once something does not fit, everything after fails too.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  /// Exactly `width` decimal digits.
  int number(std::size_t width) {
    int value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      const char c = i < rest_.size() ? rest_[i] : '\0';
      if (c < '0' || c > '9') return refuse();
      value = value * 10 + (c - '0');
    }
    rest_.remove_prefix(width);
    return value;
  }

  /// One or two decimal digits.
  int shortNumber() { return number(rest_.size() > 1 && rest_[1] >= '0' && rest_[1] <= '9' ? 2 : 1); }

  void literal(std::string_view expected) {
    if (!rest_.starts_with(expected)) {
      refuse();
    } else {
      rest_.remove_prefix(expected.size());
    }
  }

  /// The index of the name that comes next.
  template <std::size_t count>
  unsigned name(const std::array<std::string_view, count>& names) {
    const auto found = std::ranges::find(names, rest_.substr(0, 3));
    if (found == names.end()) return static_cast<unsigned>(refuse());
    rest_.remove_prefix(3);
    return static_cast<unsigned>(found - names.begin());
  }

  bool isAtEnd() const { return !failed_ && rest_.empty(); }
  std::string_view rest() const { return rest_; }

 private:
  int refuse() {
    failed_ = true;
    rest_ = {};
    return 0;
  }

  std::string_view rest_;
  bool failed_ = false;
};

struct TimeOfDay {
  int hour, minute, second;
};

TimeOfDay scanTime(Scanner& scanner) {
  TimeOfDay time{};
  time.hour = scanner.number(2);
  scanner.literal(":");
  time.minute = scanner.number(2);
  scanner.literal(":");
  time.second = scanner.number(2);
  return time;
}

std::optional<Date> instant(const year_month_day& calendar, const TimeOfDay& time) {
  if (!calendar.ok() || time.hour > 23 || time.minute > 59 || time.second > 59) return std::nullopt;
  return sys_days(calendar) + std::chrono::hours(time.hour) + std::chrono::minutes(time.minute) + seconds(time.second);
}

year_month_day calendarDay(int year, unsigned month, int day) {
  return {std::chrono::year(year), std::chrono::month(month), std::chrono::day(static_cast<unsigned>(day))};
}

}  // namespace

Date addingSeconds(Date date, std::int64_t count) {
  std::int64_t delta = 0;
  std::int64_t sum = 0;
  const bool overflows = __builtin_mul_overflow(count, std::int64_t{1'000'000}, &delta) ||
                         __builtin_add_overflow(date.time_since_epoch().count(), delta, &sum);
  if (overflows) return count < 0 ? Date::min() : Date::max();
  return Date(microseconds(sum));
}

std::string rfc3339(Date date) {
  const Parts parts(date);
  std::string text;
  appendDay(text, parts.calendar);
  text += 'T';
  appendTime(text, parts.time);
  const std::int64_t fraction = parts.time.subseconds().count();
  if (fraction != 0) {
    text += '.';
    fraction % 1000 == 0 ? appendDigits(text, fraction / 1000, 3) : appendDigits(text, fraction, 6);
  }
  return text + 'Z';
}

std::string formatTimestamp(Date date) {
  const Parts parts(date);
  std::string text;
  appendDay(text, parts.calendar);
  text += 'T';
  appendTime(text, parts.time);
  text += '.';
  appendDigits(text, parts.time.subseconds().count() / 1000, 3);
  return text;
}

std::optional<Date> parseTimestamp(std::string_view text) {
  Scanner scanner(text);
  const int year = scanner.number(4);
  scanner.literal("-");
  const int month = scanner.number(2);
  scanner.literal("-");
  const int day = scanner.number(2);
  scanner.literal("T");
  const TimeOfDay time = scanTime(scanner);
  scanner.literal(".");
  const int milliseconds = scanner.number(3);
  if (!scanner.isAtEnd()) return std::nullopt;
  const auto date = instant(calendarDay(year, static_cast<unsigned>(month), day), time);
  if (!date) return std::nullopt;
  return *date + std::chrono::milliseconds(milliseconds);
}

std::string formatHTTPDate(Date date) {
  const Parts parts(date);
  std::string text(weekdayNames[std::chrono::weekday(parts.day).c_encoding()]);
  text += ", ";
  appendDigits(text, unsigned{parts.calendar.day()}, 2);
  text += ' ';
  text += monthNames[unsigned{parts.calendar.month()} - 1];
  text += ' ';
  appendDigits(text, int{parts.calendar.year()}, 4);
  text += ' ';
  appendTime(text, parts.time);
  return text + " GMT";
}

std::optional<Date> parseHTTPDate(std::string_view text) {
  Scanner scanner(text);
  const unsigned weekday = scanner.name(weekdayNames);
  scanner.literal(", ");
  const int day = scanner.shortNumber();
  scanner.literal(" ");
  const unsigned month = scanner.name(monthNames) + 1;
  scanner.literal(" ");
  const int year = scanner.number(4);
  scanner.literal(" ");
  const TimeOfDay time = scanTime(scanner);
  scanner.literal(scanner.rest() == " +0000" ? " +0000" : " GMT");
  if (!scanner.isAtEnd()) return std::nullopt;
  const year_month_day calendar = calendarDay(year, month, day);
  const auto date = instant(calendar, time);
  if (!date || std::chrono::weekday(sys_days(calendar)).c_encoding() != weekday) return std::nullopt;
  return date;
}

}  // namespace lx
