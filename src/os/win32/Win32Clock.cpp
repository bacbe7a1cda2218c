#include <windows.h>

#include "os/Clock.h"
#include "os/SystemDate.h"
#include "os/win32/Win32Error.h"
#include "os/win32/Win32Ticks.h"

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

class Win32Clock : public Clock {
 public:
  FileTicks UtcNow() override {
    FILETIME time = {};
    GetSystemTimePreciseAsFileTime(&time);
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

}  // namespace

Clock& SystemClock() {
  static Win32Clock clock;
  return clock;
}

TimeZone& SystemTimeZone() {
  static Win32TimeZone zone;
  return zone;
}

}  // namespace ovs::os
