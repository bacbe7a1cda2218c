#include "ovsctl/win32/Start.h"

#include "os/PendingError.h"
#include "os/win32/Win32Error.h"
#include "ovsctl/cli/Command.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/win32/ServiceControl.h"
#include "platform/DebugEnvironment.h"

namespace ovs::win32 {

namespace {

bool IsSettled(DWORD state) { return state == SERVICE_RUNNING || state == SERVICE_STOPPED; }

int FailToStart(SC_HANDLE service) {
  const std::uint32_t error = PendingSystemError();
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
    const Text program = SetupOf(service).programPath;
    return Console::Fail("the service cannot be started: its program is not there, " + Console::Shown(program));
  }
  return FailAt("the service cannot be started");
}

// What it left when it ended at once.
int FailToStay(SC_HANDLE service) {
  SERVICE_STATUS status{};
  if (QueryServiceStatus(service, &status)) Fail(status.dwWin32ExitCode);
  return Console::Fail("the service started and ended again; the System log and the service's debug log tell why");
}

}  // namespace

int RunStart(unsigned waitSeconds) {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  const ServiceHandle service = OpenEventService(SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG | SERVICE_START);
  if (!service) return FailAt("the service cannot be started");
  if (StateOf(service.get()) == SERVICE_STOP_PENDING) {
    return Console::Fail("the service is stopping; \"ovsctl stop\" finishes that, then start it");
  }
  if (!StartServiceW(service.get(), 0, nullptr)) {
    FailLast();
    if (PendingSystemError() != ERROR_SERVICE_ALREADY_RUNNING) return FailToStart(service.get());
    TakePendingSystemError();
    Console::Print("The service was started before.");
  }
  const DWORD state = WaitForState(service.get(), waitSeconds, IsSettled);
  if (state == 0) return FailAt("the service's state cannot be asked");
  if (state == SERVICE_STOPPED) return FailToStay(service.get());
  if (state == SERVICE_RUNNING) {
    Console::Print(Console::Styled(Console::Style::Good, "Running."));
    return kDone;
  }
  Console::Say("ovsctl: not running within " + std::to_string(waitSeconds) + " s: the service is " +
               std::string(StateName(state)) + ".");
  return kFindings;
}

}  // namespace ovs::win32
