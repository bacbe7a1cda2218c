#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/win32/ServiceCommands.h"
#include "ovsctl/win32/Start.h"

namespace ovs::win32 {

void AddStartCommand(Program& program) {
  constexpr unsigned kUsualWait = 30;
  const auto seconds = std::make_shared<unsigned>(kUsualWait);
  CLI::App* const command =
      AddCommand(program,
                 {.name = "start",
                  .purpose = "Start the event service and wait until it runs. Says why when it does not.",
                  .examples = "ovsctl start"},
                 [seconds] { return RunStart(*seconds); });
  AddWaitOption(*command, *seconds, "How long to wait for the service to run");
}

}  // namespace ovs::win32
