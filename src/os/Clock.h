// Port: the clock, the time zone and the multimedia timer.
#pragma once

#include <cstdint>

#include "base/DateTime.h"
#include "os/Error.h"
#include "os/Files.h"

namespace ovs::os {

class Clock {
 public:
  virtual ~Clock() = default;
  // The present time, UTC.
  virtual FileTicks UtcNow() = 0;
  // Milliseconds that only grow (they wrap at 2^32 in no caller's lifetime: 64 bits).
  virtual std::uint64_t Milliseconds() = 0;
};

class TimeZone {
 public:
  virtual ~TimeZone() = default;
  // UTC to local time under the rules in force at that instant (daylight saving of that date included). 87 for a
  // date outside of what the system converts (years 1601 to 30827) or that is none.
  virtual Error ToLocal(const DateTime& utc, DateTime& local) = 0;
};

// The multimedia timer, which the performance timer of the diagnostics uses.
class PeriodTimer {
 public:
  virtual ~PeriodTimer() = default;
  // Smallest and largest period in milliseconds. 31 when the system does not tell.
  virtual Error Periods(std::uint32_t& minimum, std::uint32_t& maximum) = 0;
  // Both fail with 87 for a period that is not between those two.
  virtual Error Begin(std::uint32_t period) = 0;
  virtual Error End(std::uint32_t period) = 0;
  // Milliseconds since the system started; wraps at 2^32.
  virtual std::uint32_t Now() = 0;
};

Clock& SystemClock();
TimeZone& SystemTimeZone();
PeriodTimer& SystemPeriodTimer();

// --- Dates that the system's time calls can carry ---

inline constexpr int kFirstSystemYear = 1601;
inline constexpr int kLastSystemYear = 30827;

inline bool IsSystemYear(int year) { return year >= kFirstSystemYear && year <= kLastSystemYear; }

// True when every field is in its range, the day within its month.
[[nodiscard]] inline bool IsSystemDate(const DateTime& value) {
  // The fields are checked in a year that IsValid knows; leap years repeat every 400 years.
  DateTime inCycle = value;
  inCycle.year = 1600 + value.year % 400;
  return IsSystemYear(value.year) && IsValid(inCycle);
}

}  // namespace ovs::os
