// What everybody who takes event records from Windows Management Instrumentation has in common.
#pragma once

#include "events/RawRecord.h"
#include "os/win32/Automation.h"

namespace ovs::win32 {

// Leads to the services object, with the privilege that Security-log records need.
inline constexpr TextView kWmiMoniker = u"winmgmts:{(Security)}\\\\.\\root\\cimv2";

// The values of a Win32_NTLogEvent object, read by one property call each. Throws RuntimeError.
[[nodiscard]] RawRecord WmiRecord(const AutomationObject& record);

}  // namespace ovs::win32
