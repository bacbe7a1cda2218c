#include <iterator>

#include "os/PendingError.h"
#include "ovsctl/os/ServiceManager.h"
#include "ovsctl/win32/ServiceControl.h"

namespace ovs::os {

namespace {

constexpr const char* kStartTypes[] = {"boot", "system", "automatic", "on demand", "disabled"};

}  // namespace

ServiceEntry LookAtService() {
  ServiceEntry entry;
  const win32::ServiceHandle service = win32::OpenEventService(SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG);
  if (!service) {
    const bool missing = PendingSystemError() == ERROR_SERVICE_DOES_NOT_EXIST;
    if (missing) TakePendingSystemError();
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

}  // namespace ovs::os
