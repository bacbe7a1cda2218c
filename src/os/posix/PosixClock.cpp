#include <ctime>

#include "os/Clock.h"

namespace ovs::os {

namespace {

timespec TimeOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return time;
}

class PosixClock : public Clock {
 public:
  FileTicks UtcNow() override {
    const timespec time = TimeOf(CLOCK_REALTIME);
    return TicksFromDateTime({.year = 1970}) + time.tv_sec * kTicksPerSecond + time.tv_nsec / 100;
  }

  std::uint64_t Milliseconds() override {
    // Asked for every record; its steps of a few milliseconds are those of the other system's clock too.
    const timespec time = TimeOf(CLOCK_MONOTONIC_COARSE);
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 + static_cast<std::uint64_t>(time.tv_nsec) / 1'000'000;
  }
};

class PosixTimeZone : public TimeZone {
 public:
  Error ToLocal(const DateTime& utc, DateTime& local) override {
    if (!IsSystemDate(utc)) return SystemError::kInvalidParameter;
    tzset();
    DateTime wholeSecond = utc;
    wholeSecond.millisecond = 0;
    const std::time_t seconds =
        TicksFromDateTime(wholeSecond) / kTicksPerSecond - TicksFromDateTime({.year = 1970}) / kTicksPerSecond;
    std::tm fields{};
    if (localtime_r(&seconds, &fields) == nullptr || !IsSystemYear(fields.tm_year + 1900))
      return SystemError::kInvalidParameter;
    local = {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
             fields.tm_min,         fields.tm_sec,     utc.millisecond};
    return kSuccess;
  }
};

constexpr std::uint32_t kShortestPeriod = 1;
constexpr std::uint32_t kLongestPeriod = 1000;

// The clock is exact by itself: a period is checked and counts for nothing more.
class PosixPeriodTimer : public PeriodTimer {
 public:
  Error Periods(std::uint32_t& minimum, std::uint32_t& maximum) override {
    minimum = kShortestPeriod;
    maximum = kLongestPeriod;
    return kSuccess;
  }

  Error Begin(std::uint32_t period) override { return Check(period); }
  Error End(std::uint32_t period) override { return Check(period); }
  std::uint32_t Now() override { return static_cast<std::uint32_t>(SystemClock().Milliseconds()); }

 private:
  static Error Check(std::uint32_t period) {
    return period >= kShortestPeriod && period <= kLongestPeriod ? kSuccess : SystemError::kInvalidParameter;
  }
};

}  // namespace

Clock& SystemClock() {
  static PosixClock clock;
  return clock;
}

TimeZone& SystemTimeZone() {
  static PosixTimeZone zone;
  return zone;
}

PeriodTimer& SystemPeriodTimer() {
  static PosixPeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
