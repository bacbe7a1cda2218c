#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/explain/Explain.h"

namespace ovs {

void AddExplainCommand(Program& program) {
  const auto options = std::make_shared<ExplainOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "explain",
       .purpose = "Tell what the service would do with a record and why: for each rule that does not match the first "
                  "condition that failed, then exclusions and the disk check.",
       .examples = "ovsctl explain --app C:\\Orvanta records.jsonl\n"
                   "ovsctl explain exported.xml --record 3 --rule \"Failed logon\"\n"
                   "ovsctl explain --live System --last 5"},
      [options] { return RunExplain(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_option("records", options->recordsFile,
                      "File of records: one JSON object a line, or the XML of wevtutil qe LOG /f:RenderedXml");
  command->add_option("--record", options->record, "Only the N-th record of the file")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->add_flag("--all", options->all, "Every record of the file, not only the first 20");
  command->add_option("--live", options->liveLog, "Take records of this log of the machine (Windows)")->type_name("LOG");
  command->add_option("--last", options->last, "With --live: the newest N records, oldest first (default: 1)")
      ->type_name("N")
      ->check(CLI::Range(1, 100000));
  command->add_option("--rule", options->rule, "Only the rule of this name")->type_name("NAME");
  command->add_flag("--json", options->json, "Print one JSON object a record");
}

}  // namespace ovs
