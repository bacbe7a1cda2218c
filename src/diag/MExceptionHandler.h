// The process-wide exception handler: an access violation, a division by zero and the like become run-time errors of the
// procedure they happen in, whose guard logs them like any other error (see Proc.h and os/ExceptionFilter.h).
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "os/ExceptionFilter.h"

namespace ovs::MExceptionHandler {

// The text of the record's own code; nested records are not looked at. A code without a name gives
// "Unknown (&HXXXXXXXX)".
[[nodiscard]] Text GetExceptionDescription(const os::ExceptionRecord& record);

// Registers the handler unless it is registered; keeps `value` in any case. To be called on the thread that does the
// work. Where the system has no such handler only the value is kept.
void InstallExceptionHandler(std::int32_t value) noexcept;
// Gives the system's own handling back; without an installed handler nothing happens.
void UninstallExceptionHandler() noexcept;

// --- For other programs of the family; the service itself does not call these ---

[[nodiscard]] bool IsInstalled() noexcept;
// The value of the last installation, 0 before the first. It is kept for the caller and has no effect.
[[nodiscard]] std::int32_t InstalledValue() noexcept;

}  // namespace ovs::MExceptionHandler
