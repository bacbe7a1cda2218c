// Which dates the system's time calls can carry.
#pragma once

#include "base/DateTime.h"

namespace ovs {

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

}  // namespace ovs
