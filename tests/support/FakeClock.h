// A clock that is set and a time zone with one change of daylight saving.
#pragma once

#include "base/DateTime.h"
#include "os/Clock.h"

namespace ovs::fakes {

class FakeClock final : public os::Clock {
 public:
  os::FileTicks UtcNow() override { return now; }
  std::uint64_t Milliseconds() override { return static_cast<std::uint64_t>(now / 10'000); }

  void Set(const DateTime& utc) { now = TicksFromDateTime(utc); }
  void Advance(std::int64_t milliseconds) { now += milliseconds * 10'000; }

  os::FileTicks now = TicksFromDateTime({2024, 3, 7, 13, 5, 9, 0});
};

// Local time is UTC + offsetMinutes; from summerStart on, until summerEnd, one hour more.
class FakeTimeZone final : public os::TimeZone {
 public:
  os::Error ToLocal(const DateTime& utc, DateTime& local) override {
    if (fails) return SystemError::kInvalidParameter;
    const std::int64_t ticks = TicksFromDateTime(utc);
    const bool summer = ticks >= summerStart && ticks < summerEnd;
    local = DateTimeFromTicks(ticks + (offsetMinutes + (summer ? 60 : 0)) * 60 * kTicksPerSecond);
    return os::kSuccess;
  }

  std::int64_t offsetMinutes = 0;
  std::int64_t summerStart = 0;
  std::int64_t summerEnd = 0;
  bool fails = false;
};

}  // namespace ovs::fakes
