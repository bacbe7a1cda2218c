#include "ovsctl/os/SystemCommands.h"

#include "ovsctl/live/win32/Events.h"
#include "ovsctl/win32/ServiceCommands.h"

namespace ovs::os {

void AddSystemCommands(Program& program) {
  win32::AddInstallCommand(program);
  win32::AddUninstallCommand(program);
  win32::AddStartCommand(program);
  win32::AddStopCommand(program);
  win32::AddEventsCommand(program);
  win32::AddTestAlertCommand(program);
}

}  // namespace ovs::os
