// ovsctl start: starts the event service and waits until it runs.
#include <CLI/CLI.hpp>
#include <memory>

#include "os/win32/Win32Support.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/service/win32/ServiceCommands.h"
#include "ovsctl/service/win32/ServiceControl.h"
#include "platform/DebugEnvironment.h"

namespace ovs::win32 {

namespace {

bool IsSettled(DWORD state) { return state == SERVICE_RUNNING || state == SERVICE_STOPPED; }

int FailToStart(SC_HANDLE service, os::Error error) {
  if (error.IsNotFound()) {
    const Text program = SetupOf(service).programPath;
    return Console::Fail("the service cannot be started: its program is not there, " + Console::Shown(program), error);
  }
  return FailAt("the service cannot be started", error);
}

// The service ended at once and left an error number.
int FailToStay(SC_HANDLE service) {
  SERVICE_STATUS status{};
  const os::Error error(QueryServiceStatus(service, &status) ? status.dwWin32ExitCode : 0);
  return Console::Fail("the service started and ended again; the System log and the service's debug log tell why", error);
}

// kDone when it runs, kFindings when it is still starting after that time.
int RunStart(unsigned waitSeconds) {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  ServiceHandle service;
  DWORD state = 0;
  os::Error error = OpenEventService(SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG | SERVICE_START, service);
  if (error.Failed()) return FailAt("the service cannot be started", error);
  if (StateOf(service.get(), state).Ok() && state == SERVICE_STOP_PENDING) {
    return Console::Fail("the service is stopping; \"ovsctl stop\" finishes that, then start it");
  }
  error = Outcome(StartServiceW(service.get(), 0, nullptr) != 0);
  if (error.Failed()) {
    if (error.Number() != ERROR_SERVICE_ALREADY_RUNNING) return FailToStart(service.get(), error);
    Console::Print("The service was started before.");
  }
  error = WaitForState(service.get(), waitSeconds, IsSettled, state);
  if (error.Failed()) return FailAt("the service's state cannot be asked", error);
  if (state == SERVICE_STOPPED) return FailToStay(service.get());
  if (state == SERVICE_RUNNING) {
    Console::Print(Console::Styled(Console::Style::Good, "Running."));
    return kDone;
  }
  Console::Say("ovsctl: not running within " + std::to_string(waitSeconds) + " s: the service is " +
               std::string(StateName(state)) + ".");
  return kFindings;
}

}  // namespace

void AddStartCommand(Program& program) {
  constexpr unsigned kUsualWait = 30;
  const auto seconds = std::make_shared<unsigned>(kUsualWait);
  CLI::App* const command =
      AddCommand(program,
                 {.name = "start",
                  .purpose = "Start the event service and wait until it runs. Says why when it does not.",
                  .examples = "ovsctl start"},
                 [seconds] { return RunStart(*seconds); });
  AddWaitOption(*command, *seconds, "How long to wait for the service to run");
}

}  // namespace ovs::win32
