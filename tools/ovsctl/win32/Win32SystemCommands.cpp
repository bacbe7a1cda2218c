#include "os/SystemCommands.h"

#include "Events.h"
#include "ServiceCommands.h"

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
