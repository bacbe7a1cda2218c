#include <windows.h>
#include <mmsystem.h>

#include "os/Clock.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

// Of a date whose fields are in their ranges.
SYSTEMTIME ToSystem(const DateTime& value) {
  const auto field = [](int number) { return static_cast<WORD>(number); };
  SYSTEMTIME out = {};
  out.wYear = field(value.year);
  out.wMonth = field(value.month);
  out.wDay = field(value.day);
  out.wHour = field(value.hour);
  out.wMinute = field(value.minute);
  out.wSecond = field(value.second);
  out.wMilliseconds = field(value.millisecond);
  return out;
}

DateTime FromSystem(const SYSTEMTIME& time) {
  return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds};
}

using TimeCall = void WINAPI(FILETIME*);

// The fine clock came with Windows 8. The other one moves with the timer's tick, as the times of files do everywhere.
TimeCall* FindTimeCall() {
  TimeCall* const fine = win32::FindInSystem<TimeCall>("GetSystemTimePreciseAsFileTime");
  return fine != nullptr ? fine : &GetSystemTimeAsFileTime;
}

class Win32Clock : public Clock {
 public:
  FileTicks UtcNow() override {
    static TimeCall* const call = FindTimeCall();
    FILETIME time = {};
    call(&time);
    return win32::TicksOf(time);
  }

  std::uint64_t Milliseconds() override { return GetTickCount64(); }
};

class Win32TimeZone : public TimeZone {
 public:
  Error ToLocal(const DateTime& utc, DateTime& local) override {
    if (!IsSystemDate(utc)) return SystemError::kInvalidParameter;
    const SYSTEMTIME given = ToSystem(utc);
    SYSTEMTIME converted = {};
    if (!SystemTimeToTzSpecificLocalTime(nullptr, &given, &converted)) return win32::LastError();
    if (!IsSystemYear(converted.wYear)) return SystemError::kInvalidParameter;
    local = FromSystem(converted);
    return kSuccess;
  }
};

// The timer's own result codes are no system error numbers.
Error OutcomeOf(MMRESULT result, Error failure) { return result == TIMERR_NOERROR ? kSuccess : failure; }

class Win32PeriodTimer : public PeriodTimer {
 public:
  Error Periods(std::uint32_t& minimum, std::uint32_t& maximum) override {
    TIMECAPS limits = {};
    if (timeGetDevCaps(&limits, sizeof limits) != TIMERR_NOERROR) return SystemError::kGeneralFailure;
    minimum = limits.wPeriodMin;
    maximum = limits.wPeriodMax;
    return kSuccess;
  }

  Error Begin(std::uint32_t period) override { return OutcomeOf(timeBeginPeriod(period), SystemError::kInvalidParameter); }
  Error End(std::uint32_t period) override { return OutcomeOf(timeEndPeriod(period), SystemError::kInvalidParameter); }
  std::uint32_t Now() override { return timeGetTime(); }
};

}  // namespace

Clock& SystemClock() {
  static Win32Clock clock;
  return clock;
}

TimeZone& SystemTimeZone() {
  static Win32TimeZone zone;
  return zone;
}

PeriodTimer& SystemPeriodTimer() {
  static Win32PeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
