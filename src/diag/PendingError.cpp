#include "diag/PendingError.h"

namespace ovs {

namespace {
thread_local std::uint32_t pendingNumber = 0;
}  // namespace

void FailPending(os::Error error) noexcept {
  if (error.Failed()) pendingNumber = error.Number();
}

std::uint32_t PendingSystemError() noexcept { return pendingNumber; }

std::uint32_t TakePendingSystemError() noexcept {
  const std::uint32_t number = pendingNumber;
  pendingNumber = 0;
  return number;
}

}  // namespace ovs
