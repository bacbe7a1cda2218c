// The system's file times as the port's ticks, which count the same.
#pragma once

#include <cstdint>

#include "os/Files.h"

namespace ovs::win32 {

// Of a FILETIME; a template because no header here names the system's own.
template <typename FileTime>
[[nodiscard]] os::FileTicks TicksOf(const FileTime& time) {
  return static_cast<os::FileTicks>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

}  // namespace ovs::win32
