// ovsctl: the technician's command.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>

#include "base/Encoding.h"
#include "base/RuntimeError.h"
#include "base/Version.h"
#include "os/System.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/os/Terminal.h"

namespace {

using namespace ovs;

int Run(int argc, char** argv) {
  CLI::App app{"The technician's command of the Orvanta Event Service.", "ovsctl"};
  Program program{app};
  app.set_version_flag("--version", kVersionUtf8);
  app.require_subcommand(1);
  app.footer(
      "Exit codes: 0 done, 1 done but something is wrong, 2 not done.\nEach command shows examples: ovsctl COMMAND --help");
  AddSystemCommands(program);
  AddStatusCommand(program);
  AddCheckCommand(program);
  AddReplayCommand(program);
  AddExplainCommand(program);
  AddTestMailCommand(program);
  AddSetPasswordCommand(program);
  AddEncryptCommand(program);

  std::vector<std::string> arguments = os::ArgumentsOf(argc, argv);
  if (arguments.empty()) {
    Console::Print(app.help());
    return kFailed;
  }
  // The library would only say that a command is missing.
  const auto isMeant = [&](const CLI::App* command) { return command->check_name(arguments[0]); };
  if (!arguments[0].starts_with("-") && app.get_subcommands(isMeant).empty()) {
    return Console::Fail("there is no command \"" + Console::Shown(FromUtf8(arguments[0])) +
                         "\"; \"ovsctl --help\" lists them");
  }
  std::ranges::reverse(arguments);  // as CLI11 wants them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kFailed;
  }
  return program.exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  os::HardenProcess();
  os::UseAnsiCodePage();
  const unsigned terminal = os::PrepareTerminal();
  int exitCode = kFailed;
  try {
    exitCode = Run(argc, argv);
  } catch (const RuntimeError& error) {
    exitCode = Console::Fail(Console::Shown(error.Description()));
  } catch (const std::exception& error) {
    exitCode = Console::Fail(error.what());
  }
  if (!Console::Flush()) exitCode = Console::Fail("the output could not be written");
  os::RestoreTerminal(terminal);
  return exitCode;
}
