// Port: the commands that only one operating system has.
#pragma once

#include "ovsctl/cli/Command.h"

namespace ovs::os {

// Windows: what deals with the service control manager and the live event logs. Elsewhere none.
void AddSystemCommands(Program& program);

}  // namespace ovs::os
