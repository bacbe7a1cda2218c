#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/win32/ServiceCommands.h"
#include "ovsctl/win32/Stop.h"

namespace ovs::win32 {

void AddWaitOption(CLI::App& command, unsigned& seconds, const std::string& what) {
  constexpr unsigned kMost = 86400;
  command.add_option("--wait", seconds, what)->type_name("SECONDS")->check(CLI::Range(0U, kMost))->capture_default_str();
}

CLI::Option* AddFeedOption(CLI::App& command, std::string& file) {
  return command
      .add_option("--append-feed", file, "Also append the record to a feed file, for test environments without an event log")
      ->type_name("FILE");
}

static void AddStopKeys(CLI::App& command, StopOptions& options) {
  CLI::Option* const control = command.add_flag_callback(
      "--control-only", [&options] { options.record = false; }, "Send the stop control, write no record");
  command
      .add_flag_callback(
          "--record-only", [&options] { options.control = false; }, "Write the record, send no control")
      ->excludes(control);
  AddFeedOption(command, options.feed)->excludes(control);
}

void AddStopCommand(Program& program) {
  const auto options = std::make_shared<StopOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "stop",
       .purpose = "Stop the event service. It takes two keys: the stop control, and an event record with the stop "
                  "phrase. Both are turned here, and when it does not stop in time the missing one is named.",
       .examples = "ovsctl stop\n"
                   "ovsctl stop --wait 120"},
      [options] { return RunStop(*options); });
  AddWaitOption(*command, options->waitSeconds, "How long to wait for the service to be stopped");
  AddStopKeys(*command, *options);
}

}  // namespace ovs::win32
