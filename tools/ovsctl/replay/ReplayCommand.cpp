#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/replay/Replay.h"

namespace ovs {

namespace {

void AddInputOptions(CLI::App& command, ReplayOptions& options) {
  command
      .add_option("records", options.recordsFile,
                  "File of records: one JSON object a line, or what \"wevtutil qe LOG /f:RenderedXml\" prints")
      ->type_name("FILE");
  CLI::Option* const live = command.add_flag("--live", options.live, "Take the records of this machine's own event logs");
  command.add_option("--since", options.since, "Only the last of them: 12h, 30d, 4w")->type_name("TIME")->needs(live);
  command.add_option("--log", options.log, "Only those of this log")->type_name("NAME")->needs(live);
}

void AddOutputOptions(CLI::App& command, ReplayOptions& options) {
  CLI::Option* const json = command.add_flag_callback(
      "--json", [&options] { options.form = ReplayForm::Json; }, "Print one JSON object");
  command
      .add_flag_callback(
          "--csv", [&options] { options.form = ReplayForm::Csv; }, "Print a table for a spreadsheet, a line a rule")
      ->excludes(json);
  command.add_option("--html", options.htmlFile, "Also write one page for the browser")->type_name("FILE");
}

void AddEffects(CLI::App& command, ReplayOptions& options) {
  command.add_flag("--write-logs", options.writeLogs,
                   "Append to the two event logs of the application folder, as the service would");
  CLI::Option* const send =
      command.add_flag("--send-mails", options.sendMails, "Mail the alerts, as the service would; asks first on a terminal");
  command.add_flag("--yes", options.yes, "Send the mails without asking")->needs(send);
  command
      .add_option("--repeat", options.repeat,
                  "Handle all records that many times more and print how many a second were matched")
      ->check(CLI::Range(0, 1000000))
      ->type_name("TIMES");
}

}  // namespace

void AddReplayCommand(Program& program) {
  const auto options = std::make_shared<ReplayOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "replay",
       .purpose = "Run the rules over past event records, with the service's own code, and tell for each rule how often it "
                  "matched, when, and what would have been mailed. Nothing is mailed or logged unless asked for.",
       .examples = "ovsctl replay records.jsonl\n"
                   "ovsctl replay --live --since 30d --html report.html\n"
                   "ovsctl replay --app C:\\Orvanta System.xml --csv > rules.csv"},
      [options] { return RunReplay(*options); });
  AddAppOption(*command, options->applicationFolder);
  AddInputOptions(*command, *options);
  AddOutputOptions(*command, *options);
  AddEffects(*command, *options);
}

}  // namespace ovs
