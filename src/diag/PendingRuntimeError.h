// The run-time error that waits for the debug log: set by the handler that caught it, read and cleared by the next
// dLog. One per thread.
#pragma once

#include <exception>

#include "base/RuntimeError.h"
#include "base/Text.h"

namespace ovs {

struct PendingRuntimeError {
  int number = 0;  // 0 when none is pending
  Text description;
  Text source;
};

// Texts that cannot be kept for lack of memory are left out; the number is always kept.
void SetPendingRuntimeError(int number, TextView description, TextView source) noexcept;
// Inside a catch block: the exception in flight becomes the pending error.
void SetPendingRuntimeErrorFromException() noexcept;

[[nodiscard]] int PendingRuntimeErrorNumber() noexcept;
// The pending error, which is cleared.
[[nodiscard]] PendingRuntimeError TakePendingRuntimeError() noexcept;

}  // namespace ovs
