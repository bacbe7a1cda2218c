#include <windows.h>
#include <mmsystem.h>

#include "os/PendingError.h"
#include "os/System.h"
#include "os/win32/Win32Error.h"

namespace ovs::os {

namespace {

// The timer's own result codes are no system error numbers.
bool Check(MMRESULT result, std::uint32_t number) { return result == TIMERR_NOERROR || win32::Fail(number); }

class Win32PeriodTimer : public PeriodTimer {
 public:
  bool Periods(std::uint32_t& minimum, std::uint32_t& maximum) override {
    TIMECAPS limits = {};
    if (!Check(timeGetDevCaps(&limits, sizeof limits), SystemErrorNumber::kGeneralFailure)) return false;
    minimum = limits.wPeriodMin;
    maximum = limits.wPeriodMax;
    return true;
  }

  bool Begin(std::uint32_t period) override { return Check(timeBeginPeriod(period), SystemErrorNumber::kInvalidParameter); }
  bool End(std::uint32_t period) override { return Check(timeEndPeriod(period), SystemErrorNumber::kInvalidParameter); }
  std::uint32_t Now() override { return timeGetTime(); }
};

}  // namespace

PeriodTimer& SystemPeriodTimer() {
  static Win32PeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
