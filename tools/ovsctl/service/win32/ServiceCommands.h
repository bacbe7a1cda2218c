// The commands that only Windows has, and what several of them need.
#pragma once

#include <string>

#include "ovsctl/cli/Commands.h"

namespace CLI {
class Option;
}  // namespace CLI

namespace ovs::win32 {

void AddEventsCommand(Program& program);
void AddInstallCommand(Program& program);
void AddStartCommand(Program& program);
void AddStopCommand(Program& program);
void AddTestAlertCommand(Program& program);
void AddUninstallCommand(Program& program);

// "--wait SECONDS" of the commands that wait.
void AddWaitOption(CLI::App& command, unsigned& seconds, const std::string& what);
// "--append-feed FILE" of those that stop the service.
CLI::Option* AddFeedOption(CLI::App& command, std::string& file);

struct StopOptions {
  unsigned waitSeconds = 30;
  bool control = true;
  bool record = true;
  std::string feed;  // also append the record to this feed file
};

// Ends the service by its two keys and tells each step. kDone when it is stopped, kFindings when it is not in time.
int StopService(const StopOptions& options);

}  // namespace ovs::win32
