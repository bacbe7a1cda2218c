#include "ovsctl/service/win32/ServiceCommands.h"

#include <CLI/CLI.hpp>

namespace ovs {

void AddSystemCommands(Program& program) {
  win32::AddInstallCommand(program);
  win32::AddUninstallCommand(program);
  win32::AddStartCommand(program);
  win32::AddStopCommand(program);
  win32::AddEventsCommand(program);
  win32::AddTestAlertCommand(program);
}

namespace win32 {

void AddWaitOption(CLI::App& command, unsigned& seconds, const std::string& what) {
  constexpr unsigned kMost = 86400;
  command.add_option("--wait", seconds, what)->type_name("SECONDS")->check(CLI::Range(0U, kMost))->capture_default_str();
}

CLI::Option* AddFeedOption(CLI::App& command, std::string& file) {
  return command
      .add_option("--append-feed", file, "Also append the record to a feed file, for test environments without an event log")
      ->type_name("FILE");
}

}  // namespace win32
}  // namespace ovs
