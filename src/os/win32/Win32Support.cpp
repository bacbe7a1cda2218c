#include "os/win32/Win32Support.h"

#include <windows.h>

namespace ovs {

Handle::Handle(void* handle) noexcept : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}

Handle& Handle::operator=(Handle&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, nullptr);
  }
  return *this;
}

void Handle::Close() noexcept {
  if (void* const handle = std::exchange(handle_, nullptr)) CloseHandle(handle);
}

os::Error win32::LastError() noexcept {
  const os::Error error(GetLastError());
  return error.Failed() ? error : SystemError::kGeneralFailure;
}

void* win32::FindInSystem(const char* name) noexcept {
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name));
}

}  // namespace ovs
