// What the diagnostics hold. Private to src/diag.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "diag/DebugBuffer.h"
#include "diag/DebugMessage.h"
#include "diag/PendingErrorKeeper.h"
#include "diag/PerfTimer.h"
#include "diag/ProcRecords.h"
#include "diag/ProcSpool.h"
#include "diag/SecretMask.h"
#include "diag/SystemMessages.h"

namespace ovs {

struct App_Debug::State {
  using Lock = std::lock_guard<std::recursive_mutex>;

  // One logging call, after the pending errors were read.
  struct Event {
    ProcId procID = kNoProc;
    TextView name;  // shown in place of a procedure; for the diagnostics' own entries
    TextView message;
    TextView variables;
    EventType type = EventType::Normal;
    bool apiExpected = false;
    bool vbExpected = false;
    bool outsideHandler = false;
    bool isError = false;
    DebugErrors errors;  // pending ones, expected or not
    std::uint32_t globalEvent = 0;
    std::uint32_t globalNonFlowEvent = 0;
    std::uint32_t typeEvent = 0;
  };

  // The values that an error entry shows.
  struct VariableTexts {
    Text byVal;
    Text created;
    Text returned;
  };

  // App_Debug_Log.cpp
  void Judge(Event& event, TextView expectedVB, TextView expectedAPI) noexcept;
  void Count(Event& event) noexcept;
  void Log(Event event, TextView expectedVB, TextView expectedAPI) noexcept;
  void LogNamed(TextView name, TextView message, TextView variables = {}) noexcept;
  void Compose(Event& event);
  void CompleteErrors(Event& event, Text& message);
  [[nodiscard]] bool IsWritten(EventType type) const noexcept;
  std::uint32_t NumberEvent(const Event& event, TextView message, Proc* guard, App_Proc* record);
  [[nodiscard]] static Text TagOf(const Event& event, const Proc* guard, const App_Proc* record);
  [[nodiscard]] VariableTexts VariablesOf(const Proc* guard, const App_Proc* record) const;
  void Deliver(const Event& event, DebugMessage& parts);
  [[nodiscard]] Text NowText();
  [[nodiscard]] Text Masked(TextView text) const;

  // App_Debug_File.cpp
  bool Open() noexcept;
  void Close() noexcept;
  void Write(bool reopen) noexcept;
  void AddEntry(TextView entry);
  void SetLogFile(TextView path);
  bool StartRealTime();
  void WriteDumpFiles();
  bool WriteProcDumpFile(TextView path);

  // App_Debug_Proc.cpp
  [[nodiscard]] ProcId NextId(std::uint32_t& enterEvent) noexcept;
  [[nodiscard]] bool IsDuplicate(ProcId id) noexcept;
  App_Proc* MakeRecord(ProcId id, ProcKind kind, TextView module, TextView procedure, std::uint32_t enterEvent);
  void AdoptGuards();
  [[nodiscard]] App_Proc* FindRecord(ProcId id);
  void ExitRecord(App_Proc& record, std::uint32_t exitEvent);
  void SpoolEvents(App_Proc& record);
  [[nodiscard]] ProcRenderOptions RenderOptions() const;
  using Sink = std::function<void(std::string_view utf8)>;
  void WriteProcDump(bool incompleteOnly, const Sink& sink);

  App_Debug* owner = nullptr;
  DebugPorts ports;
  DebugEnvironment environment;
  DebugSwitches switches;
  EventCounters counters;
  SystemMessages messages;
  SecretMask secrets;
  PerfTimer timer;
  App_Debug::EntryListener listener;

  // Half a million characters are 1 MB.
  DebugBuffer run{std::size_t{512} * 1024, DebugBuffer::Bound::Tail};
  DebugBuffer pending{std::size_t{2} * 1024 * 1024, DebugBuffer::Bound::WholeEntries};
  Text logFolder;  // without trailing backslash
  Text logFile;
  Text logFileNoExt;
  Text logName;
  Text logExtension;
  std::unique_ptr<os::AppendFile> file;
  bool wantsOpen = false;  // opened once and not closed since: reached again when it could not be
  FileEncoding encoding = FileEncoding::Utf8;

  std::map<ProcId, std::unique_ptr<App_Proc>> records;  // of running procedures
  std::map<ProcId, std::uint32_t> spooledParts;         // parts of running procedures that are spooled already
  std::map<ProcId, Text> lastErrors;                    // of guards without a record
  ProcSpool spool;
  bool dumpsWritten = false;

  mutable std::recursive_mutex mutex;
  bool delivering = false;  // an entry is on its way out: whatever logs meanwhile is only counted
};

// Adds one with no regard for other threads' order.
inline std::uint32_t CountUp(std::uint32_t& counter) noexcept {
  return std::atomic_ref<std::uint32_t>(counter).fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace ovs
