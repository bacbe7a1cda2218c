// What the system's calls tell of their failures, as the ports tell it.
#pragma once

#include "os/Error.h"

namespace ovs::win32 {

// The calling thread's last error; to be asked in the statement that failed. A system that gives no number for a failure is
// taken to mean 31.
os::Error LastError() noexcept;
// Of a call that leaves a last error when it has not done its work.
inline os::Error Outcome(bool done) noexcept { return done ? os::kSuccess : LastError(); }

}  // namespace ovs::win32
