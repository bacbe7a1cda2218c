#include <gtest/gtest.h>

#include "base/DateTime.h"
#include "base/Encoding.h"
#include "base/Numbers.h"

namespace ovs {
namespace {

bool IsLeap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

TEST(DateTime, TicksGoRoundOnEveryDayOfTheCalendar) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  constexpr std::int64_t kDay = 86'400 * kTicksPerSecond;
  DateTime date{.year = 100, .month = 1, .day = 1, .hour = 23, .minute = 59, .second = 58, .millisecond = 999};
  std::int64_t ticks = TicksFromDateTime(date);
  for (date.year = 100; date.year <= 9999; ++date.year) {
    for (date.month = 1; date.month <= 12; ++date.month) {
      const int days = kDays[date.month - 1] + (date.month == 2 && IsLeap(date.year) ? 1 : 0);
      // The ends of a month tell whether all in between is right.
      for (date.day = 1; date.day <= days; date.day += date.day == 1 ? days - 1 : 1) {
        ASSERT_TRUE(IsValid(date));
        ASSERT_EQ(TicksFromDateTime(date), ticks + (date.day - 1) * kDay) << date.year << "-" << date.month;
        ASSERT_EQ(DateTimeFromTicks(ticks + (date.day - 1) * kDay + 9'999), date) << date.year << "-" << date.month;
      }
      date.day = days + 1;
      ASSERT_FALSE(IsValid(date)) << date.year << "-" << date.month;
      ticks += days * kDay;
    }
  }
}

TEST(DateTime, KnownTicksAndFieldsOutOfRange) {
  EXPECT_EQ(TicksFromDateTime({1601, 1, 1}), 0);
  EXPECT_EQ(TicksFromDateTime({1970, 1, 1}), 116'444'736'000'000'000);
  EXPECT_EQ(DateTimeFromTicks(-1), (DateTime{1600, 12, 31, 23, 59, 59, 999}));
  EXPECT_EQ(DateTimeFromTicks(std::numeric_limits<std::int64_t>::max()).year, 30828);
  EXPECT_LT(DateTimeFromTicks(std::numeric_limits<std::int64_t>::min()).year, -27000);
  for (const DateTime& date : {DateTime{0, 1, 1},
                               {10000, 1, 1},
                               {2024, 0, 1},
                               {2024, 257, 1},
                               {2024, 1, 0},
                               {2024, 1, 257},
                               {2024, 1, 1, 24},
                               {2024, 1, 1, -1},
                               {2024, 1, 1, 0, 60},
                               {2024, 1, 1, 0, 0, 60},
                               {2024, 1, 1, 0, 0, 0, 1000}}) {
    EXPECT_FALSE(IsValid(date)) << date.year << "-" << date.month << "-" << date.day;
  }
}

TEST(DateFromSerialParts, CarriesWhatIsOutOfRange) {
  constexpr int kMost = std::numeric_limits<int>::max();
  struct {
    int parts[6];
    std::optional<DateTime> date;
  } const cases[] = {{{2024, 2, 29, 13, 5, 9}, DateTime{2024, 2, 29, 13, 5, 9}},
                     {{2023, 2, 29, 0, 0, 0}, DateTime{2023, 3, 1}},
                     {{2024, 0, 1, 0, 0, 0}, DateTime{2023, 12, 1}},
                     {{2024, 14, 0, 0, 0, 0}, DateTime{2025, 1, 31}},
                     {{2024, -11, 1, 0, 0, 0}, DateTime{2023, 1, 1}},

                     {{2024, 1, 1, 0, 0, -1}, DateTime{2023, 12, 31, 23, 59, 59}},
                     {{2024, 1, 1, 48, 60, 3600}, DateTime{2024, 1, 3, 2}},
                     {{29, 1, 1, 0, 0, 0}, DateTime{2029, 1, 1}},
                     {{30, 1, 1, 0, 0, 0}, DateTime{1930, 1, 1}},
                     {{0, 0, 0, 0, 0, 0}, DateTime{1999, 11, 30}},

                     {{100, 1, 1, 0, 0, -1}, std::nullopt},
                     {{9999, 12, 31, 23, 59, 60}, std::nullopt},
                     {{-1, 1, 1, 0, 0, 0}, std::nullopt},
                     {{kMost, kMost, kMost, kMost, kMost, kMost}, std::nullopt},
                     {{-kMost - 1, -kMost - 1, -kMost - 1, -kMost - 1, -kMost - 1, -kMost - 1}, std::nullopt}};
  for (const auto& each : cases) {
    const int(&p)[6] = each.parts;
    EXPECT_EQ(DateFromSerialParts(p[0], p[1], p[2], p[3], p[4], p[5]), each.date) << p[0] << " " << p[1] << " " << p[2];
  }
}

TEST(ParseDateText, WholeTextOrNone) {
  struct {
    TextView text;
    std::optional<DateTime> date;
  } const cases[] = {{u"3/7/2024", DateTime{2024, 3, 7}},
                     {u"2024/03/07", DateTime{2024, 3, 7}},
                     {u"2024-3-7 13:05:09", DateTime{2024, 3, 7, 13, 5, 9}},
                     {u"03-07-2024 1:05 pM", DateTime{2024, 3, 7, 13, 5}},
                     {u"02/29/2024 12:00 AM", DateTime{2024, 2, 29}},
                     {u"02/29/2024 12:30:01 PM", DateTime{2024, 2, 29, 12, 30, 1}},
                     {u"9:05", DateTime{1899, 12, 30, 9, 5}}};
  for (const auto& each : cases) EXPECT_EQ(ParseDateText(each.text), each.date) << ToUtf8(each.text);
  for (const TextView text :
       {u"02/29/2023", u"13/1/2024", u"3/7/24", u"3/7-2024", u"3/7/2024 ", u"3/7/2024 24:00", u"3/7/2024 13:05 PM",
        u"3/7/2024 0:05 AM", u"3/7/2024 1:5", u"3/7/2024 1:05:09:1", u"3/7/2024 1:05PM", u"99999999999999999999/1/1", u"",
        u"\uFF13/7/2024"}) {  // the last begins with a digit, but not one of the ten
    EXPECT_EQ(ParseDateText(text), std::nullopt) << ToUtf8(text);
  }
}

TEST(FormatDate, EveryHourIsReadBack) {
  const DateFormat clock{.includeTime = true, .includeSeconds = true};
  for (int hour = 0; hour < 24; ++hour) {
    const DateTime value{987, 11, 30, hour, 59, 0, 0};
    EXPECT_EQ(ParseDateText(FormatDate(value, clock)), value) << hour;
  }
}

TEST(Numbers, WholeTextWithinTheType) {
  struct {
    TextView text;
    std::optional<std::int32_t> small;
    std::optional<std::int64_t> large;
    std::optional<std::uint64_t> natural;
  } const cases[] = {{u"0", 0, 0, 0},
                     {u"+0007", 7, 7, 7},

                     {u"2147483647", 2147483647, 2147483647, 2147483647},
                     {u"2147483648", {}, 2147483648, 2147483648},
                     {u"-2147483648", -2147483647 - 1, -2147483648LL, {}},
                     {u"-2147483649", {}, -2147483649LL, {}},
                     {u"9223372036854775807", {}, 9223372036854775807, 9223372036854775807},
                     {u"-9223372036854775808", {}, std::numeric_limits<std::int64_t>::min(), {}},
                     {u"9223372036854775808", {}, {}, 9223372036854775808u},
                     {u"18446744073709551615", {}, {}, 18446744073709551615u},
                     {u"18446744073709551616", {}, {}, {}},
                     {u"00000000000000000000000000012", 12, 12, 12}};
  for (const auto& each : cases) {
    EXPECT_EQ(ParseInt32(each.text), each.small) << ToUtf8(each.text);
    EXPECT_EQ(ParseInt64(each.text), each.large) << ToUtf8(each.text);
    EXPECT_EQ(ParseUnsigned(each.text), each.natural) << ToUtf8(each.text);
  }
  for (const TextView none : {u"", u"+", u"+-1", u" 1", u"\u0661"}) {
    EXPECT_FALSE(ParseInt32(none) || ParseInt64(none) || ParseUnsigned(none)) << ToUtf8(none);
  }
  EXPECT_EQ(ParseUnsigned(u"65535", 65535), 65535u);
  EXPECT_EQ(ParseUnsigned(u"65536", 65535), std::nullopt);
  EXPECT_EQ(NumberText(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
  EXPECT_EQ(PaddedNumberText(-7, 3) + PaddedNumberText(1234, 3) + PaddedNumberText(0, 0), u"-00712340");
  EXPECT_EQ(HexText(0x1A, 4) + HexText(0xFFFFFFFF) + HexText(0), u"001AFFFFFFFF0");
}

}  // namespace
}  // namespace ovs
