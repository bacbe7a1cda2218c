// The two clocks of the diagnostics: local time as text for entries and records, and the performance timer.
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "os/Clock.h"
#include "os/System.h"

namespace ovs {

// Local time as entries show it, such as "11/24/2026 10:47:16 PM".
class EntryClock {
 public:
  // Without a time zone, or while the system does not tell it, the text is in UTC. Both must outlive the object.
  void Attach(os::Clock* clock, os::TimeZone* timeZone) noexcept;
  // Empty while no clock is attached.
  [[nodiscard]] Text NowText() const;

 private:
  os::Clock* clock_ = nullptr;
  os::TimeZone* timeZone_ = nullptr;
};

// Milliseconds of the multimedia timer, taken at tick edges: each reading waits for the next tick, so it takes up to one
// period. While the timer is not started every reading is 0 and costs nothing.
class PerfTimer {
 public:
  void Attach(os::PeriodTimer* timer) noexcept { timer_ = timer; }

  // Asks for the shortest and longest period; false when the system does not tell, and `why` where it was
  // asked.
  bool InitValues(os::Error& why) noexcept;
  // Asks for the shortest period and waits for a tick edge. The present reading goes to `startTime` (0 when not started).
  bool HighRes_Start(std::uint32_t& startTime) noexcept;
  // Gives the period back; the present reading goes to `endTime`. False when it was not started.
  bool HighRes_Stop(std::uint32_t& endTime) noexcept;
  // The reading at the next tick edge; 0 when the timer is not started.
  [[nodiscard]] std::uint32_t GetTime() noexcept;

  // "HH:MM:SS", with ".mmm" when asked; hours run from 00 to 23 and start over.
  [[nodiscard]] static Text MakeTimePretty(std::uint32_t milliseconds, bool withMillis);

 private:
  void AlignToPeriod() noexcept;

  os::PeriodTimer* timer_ = nullptr;
  bool known_ = false;  // the system told its periods
  bool started_ = false;
  std::uint32_t minimum_ = 0;  // shortest period, in milliseconds
};

}  // namespace ovs
