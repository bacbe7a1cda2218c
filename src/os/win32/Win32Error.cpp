#include "os/win32/Win32Error.h"

#include <windows.h>

namespace ovs::win32 {

os::Error LastError() noexcept {
  const os::Error error(GetLastError());
  return error.Failed() ? error : SystemError::kGeneralFailure;
}

}  // namespace ovs::win32
