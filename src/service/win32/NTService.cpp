#include "service/win32/NTService.h"

#include <windows.h>
#include <aclapi.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "base/Fold.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/App_Debug.h"
#include "diag/PendingError.h"
#include "os/win32/Win32Support.h"
#include "service/ServiceControl.h"

namespace ovs {

namespace {

// Input, messages of other threads, timers, painting. Newer headers add kinds that an old Windows refuses.
constexpr DWORD kAnyMessage = 0xFF;

[[noreturn]] void RaiseSystem(const char16_t* call) {
  FailPending(os::Error(GetLastError()));
  throw RuntimeError(RuntimeErrorNumber::kInternal, Text(call) + u" failed");
}

void NoteFailure(TextView call) {
  FailPending(os::Error(GetLastError()));
  Debug::dLog(kNoProc, call, EventType::ApiError);
}

void PumpMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

// Waits until one of the handles is signalled or the time is up, keeping the thread's messages served. The index of the
// handle, WAIT_TIMEOUT, or WAIT_FAILED with an entry in the debug log.
DWORD WaitForHandlesPumping(DWORD timeoutMs, const HANDLE* handles, DWORD count) {
  const DWORD start = GetTickCount();
  for (;;) {
    DWORD remaining = INFINITE;
    if (timeoutMs != INFINITE) {
      // Unsigned subtraction stays right when the tick counter wraps.
      const DWORD elapsed = GetTickCount() - start;
      if (elapsed >= timeoutMs) return WAIT_TIMEOUT;
      remaining = timeoutMs - elapsed;
    }
    const DWORD result = MsgWaitForMultipleObjects(count, handles, FALSE, remaining, kAnyMessage);
    if (result == WAIT_FAILED) NoteFailure(u"MsgWaitForMultipleObjects");
    PumpMessages();
    if (result != WAIT_OBJECT_0 + count) return result;
  }
}

// --- whose the mutex of the first instance is: anybody could make one to keep the service from running

struct SidOf {
  std::array<BYTE, SECURITY_MAX_SID_SIZE> bytes{};
  PSID Get() { return bytes.data(); }
};

SidOf WellKnown(WELL_KNOWN_SID_TYPE type) {
  SidOf sid;
  DWORD size = static_cast<DWORD>(sid.bytes.size());
  CreateWellKnownSid(type, nullptr, sid.Get(), &size);
  return sid;
}

// The account of this process.
SidOf Own() {
  SidOf sid;
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) return sid;
  const Handle token(opened);
  alignas(TOKEN_USER) std::array<BYTE, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
  DWORD size = 0;
  if (!GetTokenInformation(token.Get(), TokenUser, user.data(), static_cast<DWORD>(user.size()), &size)) return sid;
  CopySid(static_cast<DWORD>(sid.bytes.size()), sid.Get(), reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
  return sid;
}

bool IsTheSystem() { return EqualSid(Own().Get(), WellKnown(WinLocalSystemSid).Get()) != 0; }

// True when it belongs to the system, the administrators or this process's account, and when nobody can tell.
bool IsOfOneOfUs(const Handle& object) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD result = GetSecurityInfo(object.Get(), SE_KERNEL_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                                       nullptr, &descriptor);
  if (result != ERROR_SUCCESS || owner == nullptr) return true;
  const bool isOurs = EqualSid(owner, WellKnown(WinLocalSystemSid).Get()) ||
                      EqualSid(owner, WellKnown(WinBuiltinAdministratorsSid).Get()) || EqualSid(owner, Own().Get());
  LocalFree(descriptor);
  return isOurs;
}

std::wstring serviceName = ToWide(kServiceName);
wchar_t* const serviceNamePtr = serviceName.data();  // the calls want one that is not constant

}  // namespace

struct NTService::State {
  Text programPath;
  DWORD instancePatience = 0;
  Handle instance;
  Handle endEvent;
  Handle startedEvent;
  Handle stopPendingEvent;
  Handle dispatcher;
  std::atomic<SERVICE_STATUS_HANDLE> serviceStatusHandle = nullptr;
  ServiceControl control{{[this](ServiceState state) { Send(state); }, [this] { SetEvent(stopPendingEvent.Get()); }}};

  // The object whose service is being run.
  static inline std::atomic<State*> running = nullptr;

  void Send(ServiceState state) const {
    SERVICE_STATUS serviceStatus = {SERVICE_WIN32_OWN_PROCESS,
                                    static_cast<DWORD>(state),
                                    SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN,
                                    NO_ERROR,
                                    0,
                                    0,
                                    0};
    SetServiceStatus(serviceStatusHandle.load(), &serviceStatus);
  }

  static void WINAPI ServiceControlHandler(DWORD control) { running.load()->control.OnControl(control); }

  static void WINAPI ServiceMainProc(DWORD /*count*/, LPWSTR* /*arguments*/) {
    State* const self = running.load();
    self->serviceStatusHandle = RegisterServiceCtrlHandlerW(serviceNamePtr, &ServiceControlHandler);
    self->control.Report(ServiceState::StartPending);
    SetEvent(self->startedEvent.Get());
    WaitForSingleObject(self->endEvent.Get(), INFINITE);
  }

  // Fails at once when the service control manager did not start this process.
  static DWORD WINAPI DispatcherThread(void* /*argument*/) {
    SERVICE_TABLE_ENTRYW table[] = {{serviceNamePtr, &ServiceMainProc}, {nullptr, nullptr}};
    StartServiceCtrlDispatcherW(table);
    return 0;
  }

  void StartDispatcherThread() {
    running = this;
    dispatcher = Handle(CreateThread(nullptr, 0, &DispatcherThread, nullptr, 0, nullptr));
    if (!dispatcher) RaiseSystem(u"CreateThread");
  }
};

NTService::NTService(TextView programPath, std::uint32_t instancePatience) : state_(std::make_unique<State>()) {
  state_->programPath = programPath;
  state_->instancePatience = instancePatience;
}

// After an error in the main procedure the dispatcher thread still runs; it may use the state until the process has ended.
NTService::~NTService() {
  if (state_->dispatcher) static_cast<void>(state_.release());
}

bool NTService::AnotherInstanceRuns() {
  // The same program file gives the same name however its path is spelled.
  const std::uint64_t hash = HashFolded(state_->programPath);
  const Text name = u"Global\\OrvantaEventService-" + HexText(static_cast<std::uint32_t>(hash >> 32), 8) +
                    HexText(static_cast<std::uint32_t>(hash), 8);
  state_->instance = Handle(CreateMutexW(nullptr, FALSE, ToWide(name).c_str()));
  const DWORD number = GetLastError();
  // Nothing of an instance of ours is closed to the system itself.
  if (!state_->instance) return number == ERROR_ACCESS_DENIED && !IsTheSystem();
  if (number == ERROR_ALREADY_EXISTS && !IsOfOneOfUs(state_->instance)) return false;
  // The place is taken by owning it. Whoever ends without a word gives it up as well.
  const HANDLE place = state_->instance.Get();
  return WaitForHandlesPumping(state_->instancePatience, &place, 1) == WAIT_TIMEOUT;
}

void NTService::LeavePlace() noexcept {
  if (state_->instance) ReleaseMutex(state_->instance.Get());
  state_->instance.Close();
}

bool NTService::IsWindowsNT() {
  OSVERSIONINFOA version = {};
  static_assert(sizeof version == 148);
  version.dwOSVersionInfoSize = sizeof version;
  return GetVersionExA(&version) != 0 && version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

void NTService::CreateEvents() {
  for (Handle* event : {&state_->endEvent, &state_->stopPendingEvent, &state_->startedEvent}) {
    *event = Handle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!*event) RaiseSystem(u"CreateEventW");
  }
}

void NTService::CloseEvents() noexcept {
  state_->endEvent.Close();
  state_->startedEvent.Close();
  state_->stopPendingEvent.Close();
}

bool NTService::StartAsService() {
  state_->StartDispatcherThread();
  const HANDLE handles[] = {state_->dispatcher.Get(), state_->startedEvent.Get()};
  const bool started = WaitForHandlesPumping(INFINITE, handles, 2) == WAIT_OBJECT_0 + 1;
  if (!started) state_->dispatcher.Close();
  return started;
}

void NTService::ServiceControlHandler(std::uint32_t control) noexcept { state_->control.OnControl(control); }

void NTService::ReportServiceState(ServiceState state) noexcept { state_->control.Report(state); }

bool NTService::WaitForStopControl(std::uint32_t milliseconds) {
  const HANDLE handle = state_->stopPendingEvent.Get();
  return WaitForHandlesPumping(milliseconds, &handle, 1) != WAIT_TIMEOUT;
}

void NTService::FinishDispatcher() {
  SetEvent(state_->endEvent.Get());
  const HANDLE handle = state_->dispatcher.Get();
  WaitForHandlesPumping(INFINITE, &handle, 1);
  state_->dispatcher.Close();
}

}  // namespace ovs
