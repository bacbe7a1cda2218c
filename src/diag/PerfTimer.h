// The performance timer of the procedure records: milliseconds of the multimedia timer, taken at tick edges.
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "os/System.h"

namespace ovs {

class PerfTimer {
 public:
  void Attach(os::PeriodTimer* timer) noexcept { timer_ = timer; }

  // Asks for the shortest and longest period; false when the system does not tell.
  bool InitValues() noexcept;
  // Asks for the shortest period and waits for a tick edge. The present reading goes to `startTime` (0 when not started).
  bool HighRes_Start(std::uint32_t& startTime) noexcept;
  // Gives the period back; the present reading goes to `endTime`. False when it was not started.
  bool HighRes_Stop(std::uint32_t& endTime) noexcept;
  // The reading at the next tick edge; 0 when the timer is not started.
  [[nodiscard]] std::uint32_t GetTime() noexcept;
  [[nodiscard]] bool IsStarted() const noexcept { return started_; }

  // "HH:MM:SS", with ".mmm" when asked; hours run from 00 to 23 and start over.
  [[nodiscard]] static Text MakeTimePretty(std::uint32_t milliseconds, bool withMillis);

 private:
  void AlignToPeriod() noexcept;

  os::PeriodTimer* timer_ = nullptr;
  bool known_ = false;
  bool started_ = false;
  std::uint32_t minimum_ = 0;
  std::uint32_t maximum_ = 0;
};

}  // namespace ovs
