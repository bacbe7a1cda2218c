#include "ovsctl/service/win32/ServiceControl.h"

#include <iterator>
#include <string>
#include <vector>

#include "os/win32/Win32Support.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/service/ServiceManager.h"

namespace ovs::win32 {

namespace {

constexpr std::string_view kStates[] = {"unknown", "stopped",    "starting", "stopping",
                                        "running", "continuing", "pausing",  "paused"};

struct Advice {
  DWORD error;
  const char* text;
};
constexpr Advice kAdvice[] = {
    {ERROR_ACCESS_DENIED, "administrator rights are needed: open the console with \"Run as administrator\""},
    {ERROR_SERVICE_DOES_NOT_EXIST, "the service is not installed"},
    {ERROR_SERVICE_MARKED_FOR_DELETE,
     "the service was deleted, but some program holds it open still (the services console, the task manager): close it, or "
     "restart the machine"},
    {ERROR_SERVICE_DISABLED, "the service is disabled: set its start type to automatic"},
};

// The part of a command line that names the program.
Text ProgramOf(TextView commandLine) {
  if (commandLine.starts_with(u'"')) return Text(commandLine.substr(1, commandLine.find(u'"', 1) - 1));
  return Text(commandLine);
}

}  // namespace

os::Error OpenManager(DWORD rights, ServiceHandle& out) {
  out.reset(OpenSCManagerW(nullptr, nullptr, rights));
  return Outcome(out != nullptr);
}

os::Error OpenServiceOf(SC_HANDLE manager, TextView name, DWORD rights, ServiceHandle& out) {
  out.reset(OpenServiceW(manager, ToWide(name).c_str(), rights));
  return Outcome(out != nullptr);
}

os::Error OpenEventService(DWORD rights, ServiceHandle& out) {
  ServiceHandle manager;
  const os::Error error = OpenManager(SC_MANAGER_CONNECT, manager);
  return error.Failed() ? error : OpenServiceOf(manager.get(), kServiceName, rights, out);
}

os::Error StateOf(SC_HANDLE service, DWORD& out) {
  SERVICE_STATUS status{};
  const os::Error error = Outcome(QueryServiceStatus(service, &status) != 0);
  out = error.Ok() ? status.dwCurrentState : 0;
  return error;
}

std::string_view StateName(DWORD state) { return kStates[state < std::size(kStates) ? state : 0]; }

ServiceSetup SetupOf(SC_HANDLE service) {
  DWORD bytes = 0;
  QueryServiceConfigW(service, nullptr, 0, &bytes);
  std::vector<QUERY_SERVICE_CONFIGW> memory(bytes / sizeof(QUERY_SERVICE_CONFIGW) + 1);
  const auto size = static_cast<DWORD>(memory.size() * sizeof(QUERY_SERVICE_CONFIGW));
  if (!QueryServiceConfigW(service, memory.data(), size, &bytes)) return {};
  const QUERY_SERVICE_CONFIGW& config = memory.front();
  return {ProgramOf(FromWide(config.lpBinaryPathName ? config.lpBinaryPathName : L"")), config.dwStartType};
}

Handle ProcessOf(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  auto* const bytes = reinterpret_cast<BYTE*>(&status);
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, bytes, sizeof status, &needed)) return Handle();
  return Handle(status.dwProcessId == 0 ? nullptr : OpenProcess(SYNCHRONIZE, FALSE, status.dwProcessId));
}

int FailAt(std::string_view what, os::Error error) {
  for (const Advice& each : kAdvice) {
    if (each.error == error.Number()) return Console::Fail(std::string(what) + ": " + each.text);
  }
  return Console::Fail(what, error);
}

}  // namespace ovs::win32

namespace ovs {

os::ServiceEntry os::LookAtService() {
  static constexpr const char* kStartTypes[] = {"boot", "system", "automatic", "on demand", "disabled"};
  ServiceEntry entry;
  win32::ServiceHandle service;
  entry.error = win32::OpenEventService(SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG, service);
  if (!service) {
    const bool missing = entry.error.Number() == ERROR_SERVICE_DOES_NOT_EXIST;
    entry.presence = missing ? ServiceEntry::Presence::NotInstalled : ServiceEntry::Presence::Unknown;
    return entry;
  }
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status, &needed);
  const win32::ServiceSetup setup = win32::SetupOf(service.get());
  entry.presence = ServiceEntry::Presence::Installed;
  entry.running = status.dwCurrentState == SERVICE_RUNNING;
  entry.state = win32::StateName(status.dwCurrentState);
  entry.startType = kStartTypes[setup.startType < std::size(kStartTypes) ? setup.startType : 0];
  entry.processId = status.dwProcessId;
  entry.programPath = setup.programPath;
  return entry;
}

}  // namespace ovs
