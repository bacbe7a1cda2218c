// Port: the machine and the process.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

class System {
 public:
  virtual ~System() = default;

  // The system's text of an error number, as the system delivers it (may end in blanks, may hold NULs); none when the
  // system knows no text.
  virtual std::optional<Text> MessageText(std::uint32_t number) = 0;
  // Sends a text to an attached debugger. Never fails.
  virtual void DebugOutput(TextView text) noexcept = 0;

  // The value of an environment variable; empty when it is not set.
  virtual Text EnvironmentVariable(TextView name) = 0;
  // Full path of the running program file.
  virtual Text ProgramPath() = 0;
  virtual std::uint32_t ProcessId() = 0;
  virtual Text ComputerName() = 0;
  virtual Text UserName() = 0;
  // Name and version of the operating system, for reports.
  virtual Text OsVersion() = 0;
  // Addresses of the network adapters that are up, loopback left out, IPv4 first.
  virtual std::vector<Text> LanAddresses() = 0;
  // Memory that the process holds at present (working set), in bytes; 0 when unknown.
  virtual std::uint64_t MemoryInUse() = 0;
};

// The multimedia timer, which the performance timer of the diagnostics uses.
class PeriodTimer {
 public:
  virtual ~PeriodTimer() = default;
  // Smallest and largest period in milliseconds. 31 when the system does not tell.
  virtual Error Periods(std::uint32_t& minimum, std::uint32_t& maximum) = 0;
  // Both fail with 87 for a period that is not between those two.
  virtual Error Begin(std::uint32_t period) = 0;
  virtual Error End(std::uint32_t period) = 0;
  // Milliseconds since the system started; wraps at 2^32.
  virtual std::uint32_t Now() = 0;
};

System& ThisSystem();
PeriodTimer& SystemPeriodTimer();

}  // namespace ovs::os
