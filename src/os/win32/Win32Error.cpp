#include "os/win32/Win32Error.h"

#include <windows.h>

#include "os/PendingError.h"

namespace ovs::win32 {

bool Fail(std::uint32_t number) noexcept {
  SetPendingSystemError(number);
  return false;
}

bool FailLast() noexcept { return Fail(GetLastError()); }

}  // namespace ovs::win32
