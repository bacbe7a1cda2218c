#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/win32/ServiceCommands.h"
#include "ovsctl/win32/Uninstall.h"

namespace ovs::win32 {

void AddUninstallCommand(Program& program) {
  const auto options = std::make_shared<UninstallOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "uninstall",
       .purpose = "Stop the event service and take it out of the machine. Settings, rules and logs stay, unless --purge is "
                  "given. Needs administrator rights.",
       .examples = "ovsctl uninstall\n"
                   "ovsctl uninstall --purge --yes"},
      [options] { return RunUninstall(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag(
      "--purge", options->purge,
      "Also delete Orvanta.ini, the rules and exclusion lists, EventLogs*.txt, OrvantaEventService.cfg and the "
      "debug logs; folders only when nothing else is in them");
  command->add_flag("--yes", options->yes, "Do not ask before --purge deletes");
  AddWaitOption(*command, options->stop.waitSeconds, "How long to wait for the service to be stopped");
  AddFeedOption(*command, options->stop.feed);
}

}  // namespace ovs::win32
