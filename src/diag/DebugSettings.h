// The diagnostics' settings: ports to the machine, names from floors above, and switches.
#pragma once

#include <cstdint>
#include <functional>

#include "base/Text.h"
#include "os/Clock.h"
#include "os/Files.h"
#include "os/System.h"

namespace ovs {

// The debug logs of all programs, in the data folder.
inline constexpr TextView kDebugLogsFolder = u"Debug Logs";

// Ports to the machine. Owned by the composer; must outlive the diagnostics' use. A port that is null leaves out what it is
// needed for: no file is written, no time shown, no system text known.
struct DebugPorts {
  os::Files* files = nullptr;
  os::Clock* clock = nullptr;
  os::TimeZone* timeZone = nullptr;
  os::System* system = nullptr;
  os::PeriodTimer* periodTimer = nullptr;
};

// The folder helpers of floors above and the running program's names.
struct DebugEnvironment {
  Text dataFolder;       // ends in "\"
  Text subFolder;        // folder below "Debug Logs"
  Text programFileName;  // such as "OrvantaEventService"
  Text instanceNumber;   // N of the log file's name
  Text qualifier;        // Q of the log file's name
  std::function<bool(TextView folder)> ensureDirExists;
  std::function<bool(TextView folder)> hasWriteAccess;
  std::function<Text()> environmentReport;
};

struct DebugSwitches {
  bool verbose = false;
  bool systemOutput = false;
  Text systemOutputPrefix = u"Orvanta";
  bool realTime = false;
  bool envDump = false;
  bool procDump = false;
  bool procDumpIncompleteOnly = false;
  bool procDumpIncludeProcTimers = false;
  std::int32_t procDumpEventTypes = -1;  // set of EventType bits, -1 all
  bool perfTimer = false;
};

// Where the debug log goes; see App_Debug::DebugLogGetLogFileVar for the meaning of empty parts.
struct DebugLogPlace {
  Text folder;
  Text subFolder;
  Text fileName;
  bool qualifyName = false;
  bool switchFile = false;  // an open log file (or one that is tried again) is written out, closed and left for the new one
};

}  // namespace ovs
