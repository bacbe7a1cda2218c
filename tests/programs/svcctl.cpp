// svcctl COMMAND: drives the service "OvsEventSvc" through the service control manager.
//   install PATH        makes the service for that program file (demand start)
//   start [ARGUMENT...] starts it; does not wait
//   restart             starts it at the moment it has stopped, and tells whether the process before still runs then
//   stop                sends the stop control; does not wait
//   shutdown            tries the shutdown control. Service control managers keep that one to themselves, so it answers
//                       with the refusal; the error number tells.
//   interrogate         sends the interrogate control, which makes the service report its state again
//   query               prints state, process and exit codes
//   wait STATE SECONDS  waits until STATE (a name such as RUNNING, or its number) is reached
//   delete              removes the service
// Exit codes: 0 done, 1 failed (the system's error number is printed), 2 usage, 3 not reached in time.
#include <windows.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "Console.h"

namespace {

using namespace ovs::tools;

constexpr wchar_t kService[] = L"OvsEventSvc";
constexpr std::array<const wchar_t*, 7> kStates = {L"STOPPED",          L"START_PENDING", L"STOP_PENDING", L"RUNNING",
                                                   L"CONTINUE_PENDING", L"PAUSE_PENDING", L"PAUSED"};
enum Exit { kDone = 0, kFailed = 1, kUsage = 2, kNotInTime = 3 };

struct ServiceCloser {
  void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using Service = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceCloser>;

int Failure(const char* what) {
  const DWORD error = GetLastError();
  Say(std::string(what) + " failed: error " + std::to_string(error));
  return kFailed;
}

int Result(const char* what, BOOL done) {
  if (!done) return Failure(what);
  Say(std::string(what) + ": done");
  return kDone;
}

std::string StateText(DWORD state) {
  const bool known = state >= 1 && state <= kStates.size();
  return std::to_string(state) + " " + (known ? Utf8(kStates[state - 1]) : "unknown");
}

std::optional<DWORD> ToState(const wchar_t* text) {
  unsigned long number = 0;
  if (ToNumber(text, number) && number >= 1 && number <= kStates.size()) return number;
  for (DWORD i = 0; i < kStates.size(); ++i) {
    if (_wcsicmp(text, kStates[i]) == 0) return i + 1;
  }
  return {};
}

bool Query(SC_HANDLE service, SERVICE_STATUS_PROCESS& status) {
  DWORD needed = 0;
  return QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status, &needed);
}

int Install(SC_HANDLE manager, const wchar_t* path) {
  const std::wstring quoted = L"\"" + std::wstring(path) + L"\"";
  const Service made(CreateServiceW(manager, kService, L"Orvanta Event Service", SERVICE_ALL_ACCESS,
                                    SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, quoted.c_str(),
                                    nullptr, nullptr, nullptr, nullptr, nullptr));
  return Result("install", made != nullptr);
}

int Control(SC_HANDLE service, DWORD control, const char* what) {
  SERVICE_STATUS status{};
  return Result(what, ControlService(service, control, &status));
}

int Start(SC_HANDLE service, int count, wchar_t** arguments) {
  auto** const texts = const_cast<const wchar_t**>(arguments);
  return Result("start", StartServiceW(service, static_cast<DWORD>(count), count ? texts : nullptr));
}

int PrintStatus(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  if (!Query(service, status)) return Failure("query");
  Say("state " + StateText(status.dwCurrentState) + ", type " + std::to_string(status.dwServiceType) + ", accepts " +
      std::to_string(status.dwControlsAccepted) + ", exit code " + std::to_string(status.dwWin32ExitCode) +
      ", service exit code " + std::to_string(status.dwServiceSpecificExitCode) + ", checkpoint " +
      std::to_string(status.dwCheckPoint) + ", wait hint " + std::to_string(status.dwWaitHint) + ", process " +
      std::to_string(status.dwProcessId));
  return kDone;
}

// The manager can notify of a change, but a notification that is given up early goes on referring to this program's
// memory, and a state passed through quickly is lost either way: looking often is as good and simpler.
int Wait(SC_HANDLE service, DWORD wanted, unsigned long seconds) {
  constexpr DWORD kLookEvery = 5;
  const ULONGLONG end = GetTickCount64() + seconds * 1000ULL;
  SERVICE_STATUS_PROCESS status{};
  for (;;) {
    if (!Query(service, status)) return Failure("wait");
    if (status.dwCurrentState == wanted) break;
    if (GetTickCount64() >= end) {
      Say("wait: still " + StateText(status.dwCurrentState));
      return kNotInTime;
    }
    Sleep(kLookEvery);
  }
  Say("wait: " + StateText(wanted));
  return kDone;
}

int Restart(SC_HANDLE service) {
  constexpr unsigned long kLimit = 60;
  SERVICE_STATUS_PROCESS status{};
  if (!Query(service, status)) return Failure("query");
  const HANDLE before = OpenProcess(SYNCHRONIZE, FALSE, status.dwProcessId);
  Say("restart: waits for its end");
  int result = Wait(service, SERVICE_STOPPED, kLimit);
  const bool stillRuns = WaitForSingleObject(before, 0) == WAIT_TIMEOUT;
  if (result == kDone) result = Start(service, 0, nullptr);
  if (result == kDone) result = Wait(service, SERVICE_RUNNING, kLimit);
  Say(stillRuns ? "process before: still running" : "process before: ended");
  CloseHandle(before);
  return result;
}

int Usage() {
  Say("usage: svcctl install PATH | start [ARGUMENT...] | restart | stop | shutdown | interrogate | query | wait STATE "
      "SECONDS |"
      " delete");
  return kUsage;
}

int WithService(SC_HANDLE manager, const std::wstring& command, int argc, wchar_t** argv) {
  const Service service(OpenServiceW(manager, kService, SERVICE_ALL_ACCESS));
  if (!service) return Failure("open service");
  if (command == L"start") return Start(service.get(), argc, argv);
  if (command == L"restart") return Restart(service.get());
  if (command == L"stop") return Control(service.get(), SERVICE_CONTROL_STOP, "stop");
  if (command == L"shutdown") return Control(service.get(), SERVICE_CONTROL_SHUTDOWN, "shutdown");
  if (command == L"interrogate") return Control(service.get(), SERVICE_CONTROL_INTERROGATE, "interrogate");
  if (command == L"query") return PrintStatus(service.get());
  if (command == L"delete") return Result("delete", DeleteService(service.get()));
  if (command != L"wait" || argc != 2) return Usage();
  const auto state = ToState(argv[0]);
  unsigned long seconds = 0;
  return state && ToNumber(argv[1], seconds) ? Wait(service.get(), *state, seconds) : Usage();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) return Usage();
  const std::wstring command = argv[1];
  const Service manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  if (!manager) return Failure("open service control manager");
  if (command == L"install") return argc == 3 ? Install(manager.get(), argv[2]) : Usage();
  return WithService(manager.get(), command, argc - 2, argv + 2);
}
