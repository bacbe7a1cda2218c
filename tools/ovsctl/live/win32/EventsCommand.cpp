#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/live/win32/Events.h"

namespace ovs::win32 {

void AddEventsCommand(Program& program) {
  const auto options = std::make_shared<EventsOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "events",
       .purpose = "Print new records as the service sees them, as they come: for writing rules. Ends with Ctrl+C.",
       .examples = "ovsctl events\n"
                   "ovsctl events --log System --count 1\n"
                   "ovsctl events --json > records.jsonl"},
      [options] { return RunEvents(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_option("--log", options->log, "Only records of this log")->type_name("LOG");
  command->add_option("--count", options->count, "End after N records")->type_name("N")->check(CLI::PositiveNumber);
  command->add_flag("--json", options->json, "Print JSON lines, which replay and explain can read");
}

}  // namespace ovs::win32
