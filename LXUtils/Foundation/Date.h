#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lx {

/// An instant, in microseconds of UTC.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

/// The instant from which wire dates without another rule count their seconds: 1 January 2001, UTC.
inline constexpr Date referenceDate = std::chrono::sys_days{std::chrono::January / 1 / 2001};

/// `date` and a number of seconds from it; an instant beyond the range of Date becomes the nearest end of the range.
Date addingSeconds(Date date, std::int64_t count);

// The formats below write years of four digits: an instant outside the years 0000 to 9999 is written as the nearest
// inside.

/// RFC 3339 in UTC with as many fractional digits (none, 3 or 6) as the instant needs: "2021-03-04T05:06:07.123Z".
std::string rfc3339(Date date);

/// "yyyy-MM-dd'T'HH:mm:ss.SSS" in UTC without a zone designator, English and Gregorian whatever the locale.
/// Strict: every digit must be there and every field in range, and nothing may follow.
std::string formatTimestamp(Date date);
std::optional<Date> parseTimestamp(std::string_view text);

/// The HTTP date of RFC 9110, section 5.6.7 ("Wed, 21 Oct 2015 07:28:00 GMT"). "+0000" is read as GMT, and a day of one
/// digit is read too. Otherwise strict, the weekday included, in English names whatever the locale. The result has
/// whole seconds.
std::string formatHTTPDate(Date date);
std::optional<Date> parseHTTPDate(std::string_view text);

}  // namespace lx
