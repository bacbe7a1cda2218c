// The process-wide diagnostics: debug log, counters, procedure records and dumps. Reached through Diagnostics().
//
// Logging never raises into a caller and never recurses into itself. Before ports are attached everything is counted but
// nothing is timed or written. The service logs from one thread; calls from others are let in one after another.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/Text.h"
#include "diag/Events.h"
#include "diag/Proc.h"
#include "diag/SystemMessages.h"
#include "os/Clock.h"
#include "os/Files.h"
#include "os/System.h"

namespace ovs {

// The debug logs of all programs, in the data folder.
inline constexpr TextView kDebugLogsFolder = u"Debug Logs";

// What the diagnostics need from the machine. Owned by the composer; must outlive the diagnostics' use.
struct DebugPorts {
  os::Files* files = nullptr;
  os::Clock* clock = nullptr;
  os::TimeZone* timeZone = nullptr;
  os::System* system = nullptr;
  os::PeriodTimer* periodTimer = nullptr;
};

// What the diagnostics need from floors above: the folder helpers and the running program's names.
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

struct EventCounters {
  std::uint32_t globalEvents = 0;
  std::uint32_t globalNonFlowEvents = 0;
  std::uint32_t normal = 0;
  std::uint32_t verbose = 0;
  std::uint32_t errorHandler = 0;
  std::uint32_t apiError = 0;
  std::uint32_t errorsOutsideErrorHandler = 0;
  std::uint32_t proceduresEntered = 0;
  std::uint32_t proceduresExited = 0;
};

// Where the debug log goes; see DebugLogGetLogFileVar for what empty parts mean.
struct DebugLogPlace {
  Text folder;
  Text subFolder;
  Text fileName;
  bool qualifyName = false;
  bool switchFile = false;  // an open log file (or one that is tried again) is written out, closed and left for the new one
};

// What one of the two entry buffers tells about itself, in characters.
struct DebugBufferNumbers {
  std::uint64_t capacity = 0;
  std::uint64_t used = 0;
  std::uint32_t growthStep = 0;
};

class App_Debug {
 public:
  App_Debug();
  ~App_Debug();
  App_Debug(const App_Debug&) = delete;
  App_Debug& operator=(const App_Debug&) = delete;

  void Attach(const DebugPorts& ports, DebugEnvironment environment);

  // The one entry point of all logging. `procID` is a guard's Id() or kNoProc. The expected lists hold numbers separated
  // by ",": a pending error that is expected turns the entry into a Verbose note.
  void dLog(ProcId procID, TextView message, EventType type = EventType::Normal, TextView variables = {},
            TextView expectedVBErrors = {}, TextView expectedAPIErrors = {}) noexcept;

  [[nodiscard]] const EventCounters& Counters() const noexcept;
  [[nodiscard]] const DebugSwitches& Switches() const noexcept;
  // Procedures that run already when the procedure dump is switched on get their records then. Switching real-time
  // writing on opens the log file, switching the performance timer on starts it.
  void SetSwitches(const DebugSwitches& switches) noexcept;

  // --- start and end ---

  // Sets both buffers' growth steps and empties the caches of system texts. The constructor has called it already.
  void InitDebugModuleVars() noexcept;
  // Takes the switches and decides the log file. With `openNow` the file is opened if its folder exists, or can be made,
  // and can be written. May be called again with another place.
  void InitDebug(const DebugSwitches& switches, bool openNow, const DebugLogPlace& place) noexcept;
  // Writes and closes the log and writes the dumps (see CleanupDebug_WriteLogs), then stops the performance timer.
  void CleanupDebug() noexcept;
  // The files "<log without extension> Dump_Env.log" and "... Dump_Proc.log" are written when their switches are on; the
  // environment report accompanies every procedure dump.
  void CleanupDebug_WriteLogs() noexcept;

  // --- the log file ---

  // The naming rule: a folder of less than 4 characters is the data folder's "Debug Logs", a name of less than 3 the
  // program's own with ".log"; then the subfolder, and "name (N).ext" or "name Q (N).ext".
  [[nodiscard]] Text DebugLogGetLogFileVar(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const;
  void DebugLogSetLogFileVars(TextView path);
  [[nodiscard]] Text DebugLogPath(bool withTrailingBackslash) const;
  [[nodiscard]] Text DebugLogFile() const;
  [[nodiscard]] Text DebugLogFileNoExt() const;
  // Makes the log folder when it is missing and opens the file when the folder can be written.
  bool DebugLogStartRealTime() noexcept;
  // A file that exists is continued in its encoding. Once opened, a file that cannot be reached for a while is tried again
  // with every entry; entries wait in memory meanwhile (at most 4 MB: then the oldest are dropped, which the log notes).
  bool DebugLogOpen() noexcept;
  void DebugLogClose() noexcept;
  void DebugLogWrite(bool reopen) noexcept;
  void DebugLogAddEntry(TextView entry) noexcept;
  [[nodiscard]] DebugBufferNumbers RunBuffer() const noexcept;
  [[nodiscard]] DebugBufferNumbers PendingBuffer() const noexcept;
  // The entries of the run; of a long run the last 0.5 to 1 MB.
  [[nodiscard]] Text DebugLogText() const;

  // Sends a text to the system's debugger output when that is switched on.
  void OutputDebugStringRaw(TextView text) noexcept;
  // The handlers' companion of dLog: reports the pending error as ErrorHandler.
  void dLogErrorHandler(ProcId procID, TextView variables = {}) noexcept;
  // True when both are equal apart from case and outer blanks.
  [[nodiscard]] static bool DebugStringMatch(TextView a, TextView b);

  // --- procedures without a guard ---

  // kNoProc when no record could be made. A record lives until its ProcExit.
  ProcId ProcNew(TextView moduleName, TextView procedureName, TextView kind) noexcept;
  void ProcVar(ProcId id, VarKind kind, TextView text) noexcept;
  void ProcExit(ProcId id) noexcept;
  // "[Error 32 = text]" of the procedure's last error; empty when it had none.
  [[nodiscard]] Text ProcLastError(ProcId id) noexcept;
  // The procedure dump as one text: all records that were made while the dump was on.
  [[nodiscard]] Text ProcDump(bool incompleteOnly) noexcept;

  // --- performance timer ---

  bool PerfTimer_InitValues() noexcept;
  bool PerfTimer_HighRes_Start(std::uint32_t& startTime) noexcept;
  bool PerfTimer_HighRes_Stop(std::uint32_t& endTime) noexcept;
  [[nodiscard]] std::uint32_t PerfTimer_GetTime() noexcept;
  [[nodiscard]] static Text PerfTimer_MakeTimePretty(std::uint32_t milliseconds, bool withMillis);

  // --- secrets ---

  // From now on "***" stands for this text (of 4 characters at least) in entries, variables, dumps and debugger output.
  void AddSecret(TextView secret) noexcept;

  // Every entry that is written (not the demoted or suppressed ones) also goes to this listener: the service's console
  // tools and the tests look here. Null for none. It must not log.
  using EntryListener = std::function<void(TextView entry)>;
  void SetEntryListener(EntryListener listener);

  // Text of a Windows system error number, NULs removed and trimmed; a fixed failure text when the system has none.
  Text GetSystemMsg(std::uint32_t number, bool bracketed = false) noexcept;
  // `forceLookup` asks the system though the text is cached. `bracketed` gives "[number=text]".
  Text GetSystemMsg(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) noexcept;

 private:
  friend class Proc;
  struct State;
  std::unique_ptr<State> state_;
};

// The diagnostics of the process. Made at first use, never destroyed before exit.
App_Debug& Diagnostics();

// For tests: puts another object in the place of the process-wide one for the life of this object.
class ScopedDiagnostics {
 public:
  explicit ScopedDiagnostics(App_Debug& replacement);
  ~ScopedDiagnostics();
  ScopedDiagnostics(const ScopedDiagnostics&) = delete;
  ScopedDiagnostics& operator=(const ScopedDiagnostics&) = delete;

 private:
  App_Debug* previous_;
};

// The module's procedure operations by their own names; the Proc guard is what procedures use.
namespace Debug {
void dLog(ProcId procID, TextView message, EventType type = EventType::Normal, TextView variables = {},
          TextView expectedVBErrors = {}, TextView expectedAPIErrors = {}) noexcept;
}  // namespace Debug

}  // namespace ovs
