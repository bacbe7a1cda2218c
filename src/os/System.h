// Port: the machine, the process, and the person who sits in front of it.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/Text.h"

namespace ovs::os {

class System {
 public:
  virtual ~System() = default;

  // The system's text of an error number, as the system delivers it (may end in blanks, may hold NULs); none when the
  // system knows no text.
  virtual std::optional<Text> MessageText(std::uint32_t number) = 0;
  // Sends a text to an attached debugger. Never fails.
  virtual void DebugOutput(TextView text) noexcept = 0;

  // The value of an environment variable; empty when it is not set.
  virtual Text EnvironmentVariable(TextView name) = 0;
  // The machine's folder for the data of programs, as the system knows it, whatever the environment of this process says;
  // natively the variable ProgramData. Empty when there is none.
  virtual Text ProgramDataFolder() = 0;
  // Full path of the running program file.
  virtual Text ProgramPath() = 0;
  virtual std::uint32_t ProcessId() = 0;
  virtual Text ComputerName() = 0;
  virtual Text UserName() = 0;
  // Name and version of the operating system, for reports.
  virtual Text OsVersion() = 0;
  // Addresses of the network adapters that are up, loopback left out, IPv4 first.
  virtual std::vector<Text> LanAddresses() = 0;
  // Memory that the process holds at present (working set), in bytes; 0 when unknown.
  virtual std::uint64_t MemoryInUse() = 0;
  // Holds the calling thread up; for moments in which another program is to finish.
  virtual void Pause(std::uint32_t milliseconds) = 0;
};

class Prompt {
 public:
  virtual ~Prompt() = default;
  // Shows a message box and waits for its answer; `flags` and result are those of the platform's message box
  // (1 OK, 2 Cancel, 6 Yes, 7 No; 0 when it cannot be shown, as where nobody could see it).
  virtual int Show(TextView text, TextView caption, std::uint32_t flags) = 0;
};

System& ThisSystem();
// The screen of the machine. A process that has none, such as a service, shows no box.
Prompt& SystemPrompt();

// Files without a mark that are no UTF-8 are then of this code page, 0 for the one that the system's own programs save such
// files in. Windows-1252 stays where the system has none of its own: elsewhere than on Windows, where it is UTF-8, and for a
// number that the system does not know (false).
bool UseAnsiCodePage(std::uint32_t number = 0) noexcept;

// Before anything else in a program. Windows: libraries are looked for in the system folder alone, whatever the current
// folder or PATH holds (those that a registered component names by its path still load), none comes from another machine,
// a damaged heap ends the process, and a drive without a medium fails its call instead of asking for one in a box. Nothing
// elsewhere.
void HardenProcess() noexcept;

}  // namespace ovs::os
