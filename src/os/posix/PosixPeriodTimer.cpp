#include "os/Clock.h"
#include "os/System.h"

namespace ovs::os {

namespace {

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

PeriodTimer& SystemPeriodTimer() {
  static PosixPeriodTimer timer;
  return timer;
}

}  // namespace ovs::os
