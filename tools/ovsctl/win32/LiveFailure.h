// Why Windows gave no event records, in plain words.
#pragma once

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace ovs::win32 {

// What a failure of the calls to Windows Management Instrumentation means and what to do about it: a right that is missing,
// a service that does not run. `log` is the log that was asked for, empty for all.
[[nodiscard]] Text LiveFailureText(const RuntimeError& error, TextView log);

}  // namespace ovs::win32
