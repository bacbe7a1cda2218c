// The commands that deal with the service control manager.
#pragma once

#include <string>

#include "ovsctl/cli/Command.h"

namespace CLI {
class Option;
}  // namespace CLI

namespace ovs::win32 {

void AddInstallCommand(Program& program);
void AddStartCommand(Program& program);
void AddStopCommand(Program& program);
void AddTestAlertCommand(Program& program);
void AddUninstallCommand(Program& program);

// "--wait SECONDS" of the commands that wait.
void AddWaitOption(CLI::App& command, unsigned& seconds, const std::string& what);
// "--append-feed FILE" of those that stop the service.
CLI::Option* AddFeedOption(CLI::App& command, std::string& file);

}  // namespace ovs::win32
