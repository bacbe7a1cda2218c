// The service program: the portable service on this Windows machine.
#include <windows.h>

#include <memory>

#include "events/win32/WmiEventSource.h"
#include "mail/engines/MailComponent.h"
#include "os/Machine.h"
#include "os/System.h"
#include "service/modEventSvc.h"
#include "service/win32/NTService.h"

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, PWSTR /*commandLine*/, int /*show*/) {
  using namespace ovs;
  os::HardenProcess();
  os::UseAnsiCodePage();
  const os::Machine machine = os::ThisMachine();
  NTService host(machine.system.ProgramPath());
  WmiEventSource source;
  const std::unique_ptr<MailEngines> engines = SystemMailEngines(machine);
  modEventSvc(machine, {.host = host, .source = source, .mailEngines = *engines}).Run();
  return 0;
}
