// The commands that every operating system has.
#pragma once

#include "ovsctl/cli/Command.h"

namespace ovs {

void AddExplainCommand(Program& program);
void AddCheckCommand(Program& program);
void AddEncryptCommand(Program& program);
void AddReplayCommand(Program& program);
void AddSetPasswordCommand(Program& program);
void AddStatusCommand(Program& program);
void AddTestMailCommand(Program& program);

}  // namespace ovs
