// Calendar dates and times of day in the proleptic Gregorian calendar, without a time zone. Pure arithmetic.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Text.h"

namespace ovs {

struct DateTime {
  int year = 1601;
  int month = 1;  // 1 to 12
  int day = 1;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;

  bool operator==(const DateTime&) const = default;
};

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;  // a tick is 100 ns

// True when every field is in its range, the day within its month, the year 1 to 9999.
[[nodiscard]] bool IsValid(const DateTime& value);

// Ticks of 100 ns since 1601-01-01 00:00 (negative before), and back. Precision of the way back: 1 ms, rounded down.
[[nodiscard]] std::int64_t TicksFromDateTime(const DateTime& value);
[[nodiscard]] DateTime DateTimeFromTicks(std::int64_t ticks);

// Date-serial arithmetic: components outside their ranges carry over (month 0 is December of the year before, day 0 the
// last day of the month before, second 75 is a minute and 15 seconds). Years 0 to 29 mean 2000 to 2029, 30 to 99 mean
// 1930 to 1999. None when the outcome is outside the years 100 to 9999.
[[nodiscard]] std::optional<DateTime> DateFromSerialParts(int year, int month, int day, int hour, int minute, int second);

// Reads a date text: "m/d/yyyy" or "yyyy/m/d" (also with "-"), optionally followed by a blank and "h:mm", "h:mm:ss",
// either with " AM" or " PM"; or a time alone (the date is then 1899-12-30). Whole text or none.
[[nodiscard]] std::optional<DateTime> ParseDateText(TextView text);

struct DateFormat {
  bool stripLeadingZeros = false;  // month, day and hour without a leading zero
  bool yearFirst = false;          // "2024/03/07" in place of "03/07/2024"
  bool includeTime = false;
  bool includeSeconds = false;
  bool use24Hour = false;  // otherwise the 12-hour clock with " AM" or " PM"
};

// The date in the display form, such as "03/07/2024 01:05:09 PM" or "2024/03/07 13:05:09". Years have four digits.
[[nodiscard]] Text FormatDate(const DateTime& value, const DateFormat& format);

}  // namespace ovs
