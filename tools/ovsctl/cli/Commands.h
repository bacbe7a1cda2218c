// The commands of ovsctl: how they are declared, what they end with, and which there are.
#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace ovs {

// Scripts rely on these.
enum ExitCode : int {
  kDone = 0,      // done, nothing to complain about
  kFindings = 1,  // done, but something is wrong: a mistake was found, a line could not be read, an alert did not arrive
  kFailed = 2,    // not done; the message says why. Wrong options end with this as well
};

// The command line as a whole. Commands keep what they are told in objects that their body owns.
struct Program {
  CLI::App& app;
  int exitCode = kDone;
};

// A command: its name, one or two sentences on what it is for, and lines that show it used, without indentation.
struct CommandHelp {
  std::string name;
  std::string purpose;
  std::string examples;
};

// Declares a command. Its body runs when the command was given and its options are right; the result is the program's exit
// code. What the body throws is reported and ends with kFailed.
CLI::App* AddCommand(Program& program, const CommandHelp& help, std::function<int()> body);

// "--app FOLDER", the application folder; see Installation.h for what an empty one means.
void AddAppOption(CLI::App& command, std::string& folder);

// The commands that every operating system has.
void AddCheckCommand(Program& program);
void AddEncryptCommand(Program& program);
void AddExplainCommand(Program& program);
void AddReplayCommand(Program& program);
void AddSetPasswordCommand(Program& program);
void AddStatusCommand(Program& program);
void AddTestMailCommand(Program& program);
// Port: those that only one operating system has. Windows: what deals with the service control manager and the live event
// logs. Elsewhere none.
void AddSystemCommands(Program& program);

}  // namespace ovs
