// Port: the clock and the time zone.
#pragma once

#include <cstdint>

#include "base/DateTime.h"
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

Clock& SystemClock();
TimeZone& SystemTimeZone();

}  // namespace ovs::os
