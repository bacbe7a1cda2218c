// The system error that waits for the debug log: set by the procedure whose port call failed, read and cleared by the next
// dLog. One per thread.
#pragma once

#include <cstdint>

#include "os/Error.h"

namespace ovs {

// From now on this error is the pending one; a success changes nothing. Procedures with a guard say it by Proc::Fail.
void FailPending(os::Error error) noexcept;

// The pending number, 0 when none; it stays pending.
[[nodiscard]] std::uint32_t PendingSystemError() noexcept;

// The pending number, which is cleared.
std::uint32_t TakePendingSystemError() noexcept;

// For work whose failures are nobody's business: when the scope ends, what was pending before is pending again.
class PendingErrorScope {
 public:
  PendingErrorScope() noexcept : before_(TakePendingSystemError()) { FailPending(before_); }
  ~PendingErrorScope() {
    TakePendingSystemError();
    FailPending(before_);
  }
  PendingErrorScope(const PendingErrorScope&) = delete;
  PendingErrorScope& operator=(const PendingErrorScope&) = delete;

 private:
  os::Error before_;
};

}  // namespace ovs
