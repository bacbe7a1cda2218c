// ovsctl: the technician's command.
#include <CLI/CLI.hpp>

#include "Replay.h"
#include "ScramblePassword.h"
#include "base/Version.h"

int main(int argc, char** argv) {
  CLI::App app{"The technician's command of the Orvanta Event Service.", "ovsctl"};
  app.set_version_flag("--version", ovs::kVersionUtf8);
  app.require_subcommand(1);

  ovs::ReplayOptions replay;
  CLI::App* const replayCommand = app.add_subcommand(
      "replay",
      "Run the rules of an application folder over recorded event records (JSON lines) and count the alerts.\n"
      "Example: ovsctl replay --app C:\\Orvanta records.jsonl");
  replayCommand->add_option("--app", replay.applicationFolder, "Application folder: the one that holds Config\\Orvanta.ini")
      ->required();
  replayCommand->add_flag("--write-logs", replay.writeLogs,
                          "Append to the two event logs of the application folder, as the service would");
  replayCommand
      ->add_option("--repeat", replay.repeat,
                   "Handle all records that many times more and print how many a second were matched")
      ->check(CLI::Range(0, 1000000));
  replayCommand->add_option("records", replay.recordsFile, "File of records, one JSON object a line")->required();

  const CLI::App* const scrambleCommand = app.add_subcommand(
      "scramble-password",
      "Read the password of the mail account (typed unseen, or one line of standard input) and print the form in which\n"
      "it is kept in Config\\Orvanta.ini.");

  CLI11_PARSE(app, argc, argv);
  return scrambleCommand->parsed() ? ovs::RunScramblePassword() : ovs::RunReplay(replay);
}
