#include "os/PendingError.h"

namespace ovs {

namespace {
thread_local std::uint32_t pendingNumber = 0;
}  // namespace

void SetPendingSystemError(std::uint32_t number) noexcept { pendingNumber = number; }

std::uint32_t PendingSystemError() noexcept { return pendingNumber; }

std::uint32_t TakePendingSystemError() noexcept {
  const std::uint32_t number = pendingNumber;
  pendingNumber = 0;
  return number;
}

}  // namespace ovs
