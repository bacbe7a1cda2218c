#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/win32/ServiceCommands.h"
#include "ovsctl/win32/TestAlert.h"

namespace ovs::win32 {

void AddTestAlertCommand(Program& program) {
  const auto options = std::make_shared<TestAlertOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "test-alert",
       .purpose =
           "Raise a disk alert by an event record with the test phrase, and wait until the running service has logged "
           "and mailed it. Needs administrator rights.",
       .examples = "ovsctl test-alert\n"
                   "ovsctl test-alert --wait 300"},
      [options] { return RunTestAlert(*options); });
  AddAppOption(*command, options->applicationFolder);
  AddWaitOption(*command, options->waitSeconds, "How long to wait for the alert");
  AddFeedOption(*command, options->feed);
}

}  // namespace ovs::win32
