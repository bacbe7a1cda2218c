#include <windows.h>
#include <mmsystem.h>

#include "os/System.h"

namespace ovs::os {

namespace {

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

PeriodTimer& SystemPeriodTimer() {
  static Win32PeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
