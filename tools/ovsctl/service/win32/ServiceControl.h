// The event service as the commands handle it in the service control manager.
#pragma once

#include <windows.h>

#include <memory>
#include <string_view>
#include <type_traits>

#include "base/Text.h"
#include "os/Error.h"
#include "service/ServiceHost.h"

namespace ovs::win32 {

struct ServiceCloser {
  void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceCloser>;

// Makes the error the pending one, which FailAt tells. False.
bool Fail(os::Error error) noexcept;
// The same with the calling thread's last error; to be called in the statement that failed.
bool FailLast() noexcept;

// Null, with the error pending, when the manager refuses or has no such service.
[[nodiscard]] ServiceHandle OpenManager(DWORD rights);
[[nodiscard]] ServiceHandle OpenServiceOf(SC_HANDLE manager, TextView name, DWORD rights);
// The event service, through a manager opened only for this.
[[nodiscard]] ServiceHandle OpenEventService(DWORD rights);

// The state, 0 with the error pending when it cannot be asked.
[[nodiscard]] DWORD StateOf(SC_HANDLE service);
// Such as "running".
[[nodiscard]] std::string_view StateName(DWORD state);

// The place of the service's program and its start type; empty and 0 with the error pending when it cannot be asked.
struct ServiceSetup {
  Text programPath;  // without quotes
  DWORD startType = 0;
};
[[nodiscard]] ServiceSetup SetupOf(SC_HANDLE service);

// "cannot ...: reason" with what to do about it, out of the pending error. Gives kFailed.
[[nodiscard]] int FailAt(std::string_view what);

// Looks at the service until `isReached` holds for its state or the time is up; the last state seen, 0 with the error
// pending when it could not be asked.
template <typename Reached>
[[nodiscard]] DWORD WaitForState(SC_HANDLE service, unsigned seconds, Reached isReached) {
  constexpr DWORD kLookEvery = 50;
  const ULONGLONG end = GetTickCount64() + seconds * 1000ULL;
  for (;;) {
    const DWORD state = StateOf(service);
    if (state == 0 || isReached(state) || GetTickCount64() >= end) return state;
    Sleep(kLookEvery);
  }
}

}  // namespace ovs::win32
