// A multimedia timer that is set.
#pragma once

#include "os/Clock.h"
#include "os/System.h"

namespace ovs::fakes {

// A multimedia timer that goes on by one at each reading, but for those that it is held.
class FakePeriodTimer final : public os::PeriodTimer {
 public:
  os::Error Periods(std::uint32_t& minimum, std::uint32_t& maximum) override {
    minimum = period;
    maximum = 1000;
    return known ? os::kSuccess : SystemError::kGeneralFailure;
  }
  os::Error Begin(std::uint32_t asked) override {
    open += asked == period ? 1 : 100;
    return os::kSuccess;
  }
  os::Error End(std::uint32_t asked) override {
    open -= asked == period ? 1 : 100;
    return os::kSuccess;
  }
  std::uint32_t Now() override {
    if (held == 0) return ++now;
    --held;
    return now;
  }

  bool known = true;
  std::uint32_t period = 1;
  std::uint32_t now = 0;
  int held = 0;
  int open = 0;  // periods begun and not ended
};

}  // namespace ovs::fakes
