#include <CLI/CLI.hpp>
#include <memory>

#include "Commands.h"
#include "Replay.h"

namespace ovs {

void AddReplayCommand(Program& program) {
  const auto options = std::make_shared<ReplayOptions>();
  CLI::App* const command =
      AddCommand(program,
                 {.name = "replay",
                  .purpose = "Run the rules of an application folder over past event records and count the alerts.",
                  .examples = "ovsctl replay --app C:\\Orvanta records.jsonl"},
                 [options] { return RunReplay(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--write-logs", options->writeLogs,
                    "Append to the two event logs of the application folder, as the service would");
  command
      ->add_option("--repeat", options->repeat,
                   "Handle all records that many times more and print how many a second were matched")
      ->check(CLI::Range(0, 1000000));
  command->add_option("records", options->recordsFile, "File of records, one JSON object a line")->required();
}

}  // namespace ovs
