// ovsstop: stops the service "OvsEventSvc" by its two keys, the stop control and an event-log record with the stop
// phrase.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <type_traits>

#include "StopRecord.h"

namespace {

using namespace ovs::stopsvc;

constexpr wchar_t kService[] = L"OvsEventSvc";
constexpr DWORD kLookEvery = 100;
constexpr unsigned long kMaxWait = 86400;

enum Exit { kStopped = 0, kNotInTime = 1, kUsage = 2, kNoRightOrService = 3 };

struct Options {
  unsigned long wait = 30;
  const wchar_t* feed = nullptr;
  bool control = true;
  bool record = true;
};

struct ServiceCloser {
  void operator()(SC_HANDLE handle) const noexcept { CloseServiceHandle(handle); }
};
using Service = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, ServiceCloser>;

void Say(const char* line) {
  std::printf("%s\n", line);
  std::fflush(stdout);
}

int Usage() {
  Say("usage: ovsstop [--wait SECONDS] [--control-only | --record-only] [--append-feed FILE]\n"
      "  --wait SECONDS      how long to wait for the service to be stopped (default 30)\n"
      "  --control-only      send the stop control, write no record\n"
      "  --record-only       write the record, send no control\n"
      "  --append-feed FILE  also append the record to a feed file (test environments without an event log)\n"
      "exit codes: 0 stopped, 1 not stopped in time, 2 usage, 3 missing right or service");
  return kUsage;
}

int Failure(const char* what, DWORD error) {
  const char* reason = error == ERROR_ACCESS_DENIED            ? " (administrator rights are needed)"
                       : error == ERROR_SERVICE_DOES_NOT_EXIST ? " (the service is not installed)"
                                                               : "";
  std::printf("%s failed: error %lu%s\n", what, error, reason);
  std::fflush(stdout);
  return kNoRightOrService;
}

DWORD State(SC_HANDLE service) {
  SERVICE_STATUS status{};
  return QueryServiceStatus(service, &status) ? status.dwCurrentState : 0;
}

// A service that is stopping already takes no further control: then the control came earlier.
int SendControl(SC_HANDLE service) {
  SERVICE_STATUS status{};
  Say("sending the stop control");
  if (ControlService(service, SERVICE_CONTROL_STOP, &status)) return kStopped;
  const DWORD error = GetLastError();
  if (error == ERROR_SERVICE_NOT_ACTIVE) return kStopped;
  if (error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL && State(service) == SERVICE_STOP_PENDING) {
    Say("  a stop control has arrived before");
    return kStopped;
  }
  return Failure("stop control", error);
}

int LeaveRecord(const wchar_t* feed) {
  Say("writing the record with the stop phrase to the Application log");
  if (const DWORD error = WriteRecord()) return Failure("writing the record", error);
  if (!feed) return kStopped;
  Say("appending the record to the feed");
  const DWORD error = AppendToFeed(feed);
  return error ? Failure("appending to the feed", error) : kStopped;
}

// After STOP_PENDING only the phrase can be missing. While the state is still RUNNING no control has arrived; whether
// the phrase was seen does not show from outside.
void ExplainMissing(DWORD state, const Options& options) {
  if (state == SERVICE_STOP_PENDING) {
    Say("not stopped in time: the stop control has arrived, the record with the stop phrase is missing");
  } else if (state == SERVICE_RUNNING) {
    Say(options.record ? "not stopped in time: the stop control is missing"
                       : "not stopped in time: the stop control is missing, and no record was written");
  } else {
    std::printf("not stopped in time: the service is in state %lu\n", state);
    std::fflush(stdout);
  }
}

int WaitStopped(SC_HANDLE service, const Options& options) {
  std::printf("waiting up to %lu seconds\n", options.wait);
  std::fflush(stdout);
  const ULONGLONG end = GetTickCount64() + options.wait * 1000ULL;
  for (;;) {
    const DWORD state = State(service);
    if (state == SERVICE_STOPPED) {
      Say("stopped");
      return kStopped;
    }
    if (state == 0) return Failure("looking at the service", GetLastError());
    if (GetTickCount64() >= end) {
      ExplainMissing(state, options);
      return kNotInTime;
    }
    Sleep(kLookEvery);
  }
}

int MakeSource() {
  bool changed = false;
  if (const DWORD error = EnsureSource(changed)) return Failure("registering the event source", error);
  Say(changed ? "event source OrvantaEventService registered" : "event source OrvantaEventService is registered");
  return kStopped;
}

int Stop(SC_HANDLE service, const Options& options) {
  if (State(service) == SERVICE_STOPPED) {
    Say("the service is not running");
    return kStopped;
  }
  if (options.record) {
    if (const int result = MakeSource()) return result;
  }
  if (options.control) {
    if (const int result = SendControl(service)) return result;
  }
  if (options.record) {
    if (const int result = LeaveRecord(options.feed)) return result;
  }
  return WaitStopped(service, options);
}

bool ReadSeconds(const wchar_t* text, unsigned long& out) {
  wchar_t* end = nullptr;
  if (!text || *text < L'0' || *text > L'9') return false;
  out = std::wcstoul(text, &end, 10);
  return *end == L'\0' && out <= kMaxWait;
}

bool Read(int argc, wchar_t** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::wstring option = argv[i];
    if (option == L"--control-only") {
      options.record = false;
    } else if (option == L"--record-only") {
      options.control = false;
    } else if (option == L"--wait") {
      if (!ReadSeconds(argv[++i], options.wait)) return false;
    } else if (option == L"--append-feed" && i + 1 < argc) {
      options.feed = argv[++i];
    } else {
      return false;
    }
  }
  return (options.control || options.record) && (options.record || !options.feed);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Options options;
  if (!Read(argc, argv, options)) return Usage();
  const Service manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return Failure("opening the service control manager", GetLastError());
  const DWORD rights = SERVICE_QUERY_STATUS | (options.control ? SERVICE_STOP : 0);
  const Service service(OpenServiceW(manager.get(), kService, rights));
  if (!service) return Failure("opening the service", GetLastError());
  return Stop(service.get(), options);
}
