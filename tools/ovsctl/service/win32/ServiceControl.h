// The event service as the commands handle it in the service control manager.
#pragma once

#include <windows.h>

#include <memory>
#include <string_view>
#include <type_traits>

#include "base/Text.h"
#include "os/Error.h"
#include "os/win32/Win32Support.h"
#include "service/ServiceHost.h"

namespace ovs::win32 {

struct ServiceCloser {
  void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceCloser>;

// A failure leaves the handle null: the manager refuses or has no such service.
os::Error OpenManager(DWORD rights, ServiceHandle& out);
os::Error OpenServiceOf(SC_HANDLE manager, TextView name, DWORD rights, ServiceHandle& out);
// The event service, through a manager opened only for this.
os::Error OpenEventService(DWORD rights, ServiceHandle& out);

// A failure leaves 0.
os::Error StateOf(SC_HANDLE service, DWORD& out);
// Such as "running".
[[nodiscard]] std::string_view StateName(DWORD state);

// The place of the service's program and its start type; empty and 0 when it cannot be asked.
struct ServiceSetup {
  Text programPath;  // without quotes
  DWORD startType = 0;
};
[[nodiscard]] ServiceSetup SetupOf(SC_HANDLE service);

// The process that the service runs in, to be waited for: it writes its settings and dumps after it has reported that it
// stopped. Empty when there is none.
[[nodiscard]] Handle ProcessOf(SC_HANDLE service);

// "cannot ...: reason" with what to do about it. Gives kFailed.
[[nodiscard]] int FailAt(std::string_view what, os::Error error);

// Looks at the service until `isReached` holds for its state or the time is up. `state` is the last one seen.
template <typename Reached>
os::Error WaitForState(SC_HANDLE service, unsigned seconds, Reached isReached, DWORD& state) {
  constexpr DWORD kLookEvery = 50;
  const ULONGLONG end = GetTickCount64() + seconds * 1000ULL;
  for (;;) {
    const os::Error error = StateOf(service, state);
    if (error.Failed() || isReached(state) || GetTickCount64() >= end) return error;
    Sleep(kLookEvery);
  }
}

}  // namespace ovs::win32
