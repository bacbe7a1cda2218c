// The commands that every operating system has.
#pragma once

#include "Command.h"

namespace ovs {

void AddReplayCommand(Program& program);
void AddScramblePasswordCommand(Program& program);
void AddTestMailCommand(Program& program);

}  // namespace ovs
