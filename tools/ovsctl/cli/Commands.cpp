#include "ovsctl/cli/Commands.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace ovs {

CLI::App* AddCommand(Program& program, const CommandHelp& help, std::function<int()> body) {
  CLI::App* const command = program.app.add_subcommand(help.name, help.purpose);
  std::string footer = "Examples:";
  for (const std::string& line : CLI::detail::split(help.examples, '\n')) footer += "\n  " + line;
  command->footer(footer);
  command->callback([&program, body = std::move(body)] { program.exitCode = body(); });
  return command;
}

void AddAppOption(CLI::App& command, std::string& folder) {
  command
      .add_option("--app", folder,
                  "Application folder, the one that holds Config\\Orvanta.ini (default: the folder of ovsctl)")
      ->type_name("FOLDER");
}

}  // namespace ovs
