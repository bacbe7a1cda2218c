#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/status/Status.h"

namespace ovs {

void AddStatusCommand(Program& program) {
  const auto options = std::make_shared<StatusOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "status",
       .purpose = "Show whether the event service runs, the settings in force, who gets mails and on which way, rules with "
                  "problems, the last alerts and the sizes of the logs. Passwords are never shown.",
       .examples = "ovsctl status\n"
                   "ovsctl status --json"},
      [options] { return RunStatus(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--json", options->json, "Print the result as one JSON object");
}

}  // namespace ovs
