// The process-wide diagnostics, reached through Diagnostics(): debug log (DebugLog), procedure trace (ProcTrace) and
// counters (EventCounts) behind one front.
//
// Logging never raises into a caller and never recurses into itself. Before ports are attached everything is counted but
// nothing is timed or written. The service logs from one thread; calls from others are let in one after another. Every call
// keeps the thread's pending system error, except dLog, which takes it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "base/Text.h"
#include "diag/DebugSettings.h"
#include "diag/Events.h"
#include "diag/Proc.h"

namespace ovs {

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
  // The handlers' companion of dLog: reports the pending error as ErrorHandler.
  void dLogErrorHandler(ProcId procID, TextView variables = {}) noexcept;

  [[nodiscard]] const EventCounters& Counters() const noexcept;
  [[nodiscard]] const DebugSwitches& Switches() const noexcept;
  // Procedures that run already when the procedure dump is switched on get their records then. Switching real-time
  // writing on opens the log file, switching the performance timer on starts it.
  void SetSwitches(const DebugSwitches& switches) noexcept;

  // For a start-up whose switches come out of files that procedures read: records are made and held in memory (4 MB at most,
  // what is beyond is lost and counted) until EndHoldOfRecords, when the switches decide what becomes of them.
  void HoldRecords() noexcept;
  void EndHoldOfRecords() noexcept;

  // From now on "***" stands for this text (of 4 characters at least) in entries, variables, dumps and debugger output.
  void AddSecret(TextView secret) noexcept;

  // Every entry that is written (not the demoted or suppressed ones) also goes to this listener: the service's console
  // tools and the tests look here. Null for none. It must not log.
  using EntryListener = std::function<void(TextView entry, EventType type)>;
  void SetEntryListener(EntryListener listener);

  // Text of a Windows system error number, NULs removed and trimmed; a fixed failure text when the system has none.
  // `bracketed` gives "[number=text]".
  Text GetSystemMsg(std::uint32_t number, bool bracketed = false) noexcept;

  // Takes the switches and decides the log file. With `openNow` the file is opened if its folder exists, or can be made,
  // and can be written. May be called again with another place.
  void InitDebug(const DebugSwitches& switches, bool openNow, const DebugLogPlace& place) noexcept;
  // Writes and closes the log and writes the dumps (see CleanupDebug_WriteLogs), then stops the performance timer.
  void CleanupDebug() noexcept;

  // Makes the log folder when it is missing and opens the file when the folder can be written.
  bool DebugLogStartRealTime() noexcept;
  // Empty while no log file is decided.
  [[nodiscard]] Text DebugLogPath(bool withTrailingBackslash) const;
  [[nodiscard]] Text DebugLogFile() const;

  // --- For other programs of the family and for measurements; the service itself does not call these ---

  // Sets both buffers' growth steps and empties the caches of system texts. The constructor has called it already.
  void InitDebugModuleVars() noexcept;
  // The files "<log without extension> Dump_Env.log" and "... Dump_Proc.log" are written when their switches are on; the
  // environment report accompanies every procedure dump.
  void CleanupDebug_WriteLogs() noexcept;

  // The naming rule: a folder of less than 4 characters is the data folder's "Debug Logs", a name of less than 3 the
  // program's own with ".log"; then the subfolder, and "name (N).ext" or "name Q (N).ext".
  [[nodiscard]] Text DebugLogGetLogFileVar(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const;
  void DebugLogSetLogFileVars(TextView path);
  [[nodiscard]] Text DebugLogFileNoExt() const;
  // A file that exists is continued in its encoding. Once opened, a file that cannot be reached for a while is tried again
  // with every entry; entries wait in memory meanwhile (at most 4 MB: then the oldest are dropped, which the log notes).
  bool DebugLogOpen() noexcept;
  void DebugLogClose() noexcept;
  void DebugLogWrite(bool reopen) noexcept;
  void DebugLogAddEntry(TextView entry) noexcept;
  // The entries of the run; of a long run the last 0.5 to 1 MB.
  [[nodiscard]] Text DebugLogText() const;

  // Sends a text to the system's debugger output when that is switched on.
  void OutputDebugStringRaw(TextView text) noexcept;
  // True when both are equal apart from case and outer blanks.
  [[nodiscard]] static bool DebugStringMatch(TextView a, TextView b);
  // `forceLookup` asks the system though the text is cached.
  Text GetSystemMsg(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) noexcept;

  // Procedures without a guard. kNoProc when no record could be made. A record lives until its ProcExit; of a procedure that
  // has exited the trace knows that it was there, and the last error of the last thousand that had one.
  ProcId ProcNew(TextView moduleName, TextView procedureName, TextView kind) noexcept;
  void ProcVar(ProcId id, VarKind kind, TextView text) noexcept;
  void ProcExit(ProcId id) noexcept;
  // "[Error 32 = text]" of the procedure's last error; empty when it had none or it is too long ago.
  [[nodiscard]] Text ProcLastError(ProcId id) noexcept;
  // The procedure dump as one text: all records that were made while the dump was on.
  [[nodiscard]] Text ProcDump(bool incompleteOnly) noexcept;

  // The performance timer, see PerfTimer: its readings are milliseconds.
  bool PerfTimer_InitValues() noexcept;
  bool PerfTimer_HighRes_Start(std::uint32_t& startTime) noexcept;
  bool PerfTimer_HighRes_Stop(std::uint32_t& endTime) noexcept;
  [[nodiscard]] std::uint32_t PerfTimer_GetTime() noexcept;
  [[nodiscard]] static Text PerfTimer_MakeTimePretty(std::uint32_t milliseconds, bool withMillis);

 private:
  friend class Proc;
  struct Parts;
  std::unique_ptr<Parts> parts_;
  ProcTrace* trace_;  // of the parts; guards come here first
};

// The diagnostics of the process. Made at first use, never destroyed before exit.
App_Debug& Diagnostics();

// For tests and measurements: puts another object in the place of the process-wide one for the life of this object.
class ScopedDiagnostics {
 public:
  explicit ScopedDiagnostics(App_Debug& replacement);
  ~ScopedDiagnostics();
  ScopedDiagnostics(const ScopedDiagnostics&) = delete;
  ScopedDiagnostics& operator=(const ScopedDiagnostics&) = delete;

 private:
  App_Debug* previous_;
};

// App_Debug::dLog of the process's diagnostics, for code that has no guard.
namespace Debug {
void dLog(ProcId procID, TextView message, EventType type = EventType::Normal, TextView variables = {},
          TextView expectedVBErrors = {}, TextView expectedAPIErrors = {}) noexcept;
}  // namespace Debug

}  // namespace ovs
