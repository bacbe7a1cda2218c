#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/check/Check.h"
#include "ovsctl/cli/Commands.h"

namespace ovs {

void AddCheckCommand(Program& program) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* const command =
      AddCommand(program,
                 {.name = "check",
                  .purpose = "Read rules, exclusion lists and settings as the service does, and say what is "
                             "wrong, where, and how to mend it. Without files: all of the application folder.",
                  .examples = "ovsctl check\n"
                              "ovsctl check --app C:\\Orvanta --json\n"
                              "ovsctl check \"C:\\Orvanta\\Config\\Rules\\Failed logon.DAT\""},
                 [options] { return RunCheck(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--json", options->json, "Print the findings as JSON");
  command->add_option("files", options->files, "Rule files (.DAT), exclusion lists, Orvanta.ini, .cfg files")
      ->type_name("FILE");
}

}  // namespace ovs
