#include "os/Clock.h"
#include "os/PendingError.h"
#include "os/System.h"
#include "os/posix/PosixErrors.h"

namespace ovs::os {

namespace {

constexpr std::uint32_t kShortestPeriod = 1;
constexpr std::uint32_t kLongestPeriod = 1000;

// The clock is exact by itself: a period is checked and counts for nothing more.
class PosixPeriodTimer : public PeriodTimer {
 public:
  bool Periods(std::uint32_t& minimum, std::uint32_t& maximum) override {
    minimum = kShortestPeriod;
    maximum = kLongestPeriod;
    return true;
  }

  bool Begin(std::uint32_t period) override { return Check(period); }
  bool End(std::uint32_t period) override { return Check(period); }
  std::uint32_t Now() override { return static_cast<std::uint32_t>(SystemClock().Milliseconds()); }

 private:
  static bool Check(std::uint32_t period) {
    if (period >= kShortestPeriod && period <= kLongestPeriod) return true;
    return posix::Fail(SystemErrorNumber::kInvalidParameter);
  }
};

}  // namespace

PeriodTimer& SystemPeriodTimer() {
  static PosixPeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
