#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "LXUtils/Foundation/Date.h"

namespace lx {
namespace {

using std::chrono::sys_days;
using namespace std::chrono_literals;

const Date sample = sys_days(2021y / 3 / 4) + 5h + 6min + 7s + 123ms;

TEST(Date, AddingSecondsEndsAtTheEndsOfTheRange) {
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(addingSeconds(sample, 3600), sample + 1h);
  EXPECT_EQ(addingSeconds(sample, -1), sample - 1s);
  EXPECT_EQ(addingSeconds(sample, most), Date::max());
  EXPECT_EQ(addingSeconds(sample, most / 1'000'000), Date::max());
  EXPECT_EQ(addingSeconds(sample, least), Date::min());
  EXPECT_EQ(addingSeconds(Date::min(), -1), Date::min());
  EXPECT_EQ(addingSeconds(Date::max(), 0), Date::max());
}

TEST(Date, RFC3339HasAsManyFractionalDigitsAsNeeded) {
  EXPECT_EQ(rfc3339(sample), "2021-03-04T05:06:07.123Z");
  EXPECT_EQ(rfc3339(sample + 1us), "2021-03-04T05:06:07.123001Z");
  EXPECT_EQ(rfc3339(sys_days(2021y / 3 / 4)), "2021-03-04T00:00:00Z");
  EXPECT_EQ(rfc3339(Date(-1us)), "1969-12-31T23:59:59.999999Z");
  EXPECT_EQ(rfc3339(Date::max()), "9999-12-31T23:59:59.999999Z");
  EXPECT_EQ(rfc3339(Date::min()), "0000-01-01T00:00:00Z");
  EXPECT_TRUE(parseTimestamp(formatTimestamp(Date::max())));
}

TEST(Date, TimestampsComeBackAndFieldsAreStrict) {
  EXPECT_EQ(formatTimestamp(sample), "2021-03-04T05:06:07.123");
  EXPECT_EQ(parseTimestamp("2021-03-04T05:06:07.123"), sample);
  EXPECT_EQ(parseTimestamp("1969-12-31T23:59:59.999"), Date(-1ms));
  EXPECT_EQ(formatTimestamp(Date(-1us)), "1969-12-31T23:59:59.999");
  EXPECT_TRUE(parseTimestamp("2024-02-29T00:00:00.000"));
  for (const std::string_view text :
       {"", "2021-03-04", "2021-03-04T05:06:07", "2021-03-04T05:06:07.12", "2021-03-04T05:06:07.1234",
        "2021-03-04T05:06:07.123Z", "2021-03-04 05:06:07.123", " 2021-03-04T05:06:07.123", "2021-3-04T05:06:07.123",
        "2021-02-29T00:00:00.000", "2021-13-01T00:00:00.000", "2021-00-01T00:00:00.000", "2021-01-00T00:00:00.000",
        "2021-01-01T24:00:00.000", "2021-01-01T00:60:00.000", "2021-01-01T00:00:60.000", "+021-01-01T00:00:00.000",
        "2021-01-01T00:00:-1.000", "2021-01-01T00:00:00,000"}) {
    EXPECT_FALSE(parseTimestamp(text)) << text;
  }
}

TEST(Date, HTTPDatesComeBackAndAreStrict) {
  const Date date = sys_days(2015y / 10 / 21) + 7h + 28min;
  EXPECT_EQ(formatHTTPDate(date + 999ms), "Wed, 21 Oct 2015 07:28:00 GMT");
  EXPECT_EQ(parseHTTPDate("Wed, 21 Oct 2015 07:28:00 GMT"), date);
  EXPECT_EQ(parseHTTPDate("Wed, 21 Oct 2015 07:28:00 +0000"), date);
  EXPECT_EQ(parseHTTPDate("Thu, 1 Oct 2015 07:28:00 GMT"), date - 20 * 24h);
  for (const std::string_view text :
       {"", "Wed, 21 Oct 2015 07:28:00", "Wed, 21 Oct 2015 07:28:00 GMT ", "Wed, 21 Oct 2015 07:28:00 +0100",
        "Wed, 21 Oct 2015 07:28:00 UTC", "wed, 21 Oct 2015 07:28:00 GMT", "Wed, 21 oct 2015 07:28:00 GMT",
        "Tue, 21 Oct 2015 07:28:00 GMT", "Wed, 021 Oct 2015 07:28:00 GMT", "Sat, 31 Feb 2015 07:28:00 GMT",
        "Wed, 21 Oct 15 07:28:00 GMT", "Wednesday, 21-Oct-15 07:28:00 GMT", "Wed Oct 21 07:28:00 2015",
        "Wed, 21 Oct 2015 24:28:00 GMT", "Mi, 21 Okt 2015 07:28:00 GMT"}) {
    EXPECT_FALSE(parseHTTPDate(text)) << text;
  }
}

}  // namespace
}  // namespace lx
