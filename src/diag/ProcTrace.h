// The procedure trace: the numbers of procedure calls, their records while the procedure dump is on, and the dump.
//
// It knows procedures and their events, nothing of the debug log. Enter and Leave take the diagnostics' lock themselves; for
// everything else the caller holds it.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/Text.h"
#include "diag/DebugEvent.h"
#include "diag/DebugTime.h"
#include "diag/ProcRecords.h"
#include "diag/ProcSpool.h"
#include "diag/SecretMask.h"
#include "os/Files.h"

namespace ovs {

class Proc;

class ProcTrace {
 public:
  struct Options {
    bool keepsRecords = false;
    bool incompleteOnly = false;  // records without a problem are forgotten when their procedure ends
    ProcRenderOptions render;
  };
  // Told of a call with a wrong procedure ID: the diagnostics' own procedure it was made to, and the finding.
  using Complaint = std::function<void(TextView name, TextView finding)>;

  // An event's procedure: its guard on this thread, its record while one is kept, both or neither.
  class Procedure {
   public:
    [[nodiscard]] bool IsKnown() const noexcept { return guard_ != nullptr || record_ != nullptr; }
    [[nodiscard]] bool HasRecord() const noexcept { return record_ != nullptr; }

   private:
    friend class ProcTrace;
    Proc* guard_ = nullptr;
    App_Proc* record_ = nullptr;
  };
  // The values that an error entry shows, masked.
  struct Values {
    Text byVal;
    Text created;
    Text returned;
  };

  // Everything given must outlive the trace.
  ProcTrace(EventCounts& counts, const SecretMask& secrets, const EntryClock& clock, PerfTimer& timer,
            std::recursive_mutex& mutex, Complaint complain);

  // `files` must outlive the trace's use; without files the records wait in memory.
  void Attach(os::Files* files) noexcept;
  // The dump's spool file; see ProcSpool::SetPath.
  void SetSpoolPath(TextView path) { spool_.SetPath(path); }
  // Procedures that run already when records begin to be kept get theirs then.
  void SetOptions(const Options& options);
  // Keeps records from now on until it is known whether the options want them: kMostHeld of memory at most, what is beyond
  // is lost and counted.
  void Hold();
  // The options are final: what was held goes where they say, or is forgotten.
  void EndHold();
  static constexpr std::size_t kMostHeld = std::size_t{2} * 1024 * 1024;  // characters

  // --- guards

  // Numbers the guard's call, and makes its record while records are kept. Without memory the guard stays without a record.
  void Enter(Proc& guard) noexcept;
  void Leave(Proc& guard) noexcept;
  // A value of a guard that has a record, as "name=value".
  void AddVariable(App_Proc& record, VarKind kind, TextView text) noexcept;

  // --- procedures without a guard

  // kNoProc when the number is in use or no record could be made.
  ProcId New(TextView module, TextView procedure, TextView kind) noexcept;
  // False when no procedure ever had that number.
  bool AddVariable(ProcId id, VarKind kind, TextView text);
  void Exit(ProcId id);
  // See App_Debug::ProcLastError.
  [[nodiscard]] Text LastError(ProcId id);

  // --- events

  [[nodiscard]] Procedure Find(ProcId id);
  // Numbers an event that nobody reads.
  static void CountEvent(const Procedure& procedure) noexcept;
  // Numbers the event within its procedure and keeps it in the record; `message` is its complete text. The number is
  // returned, 0 for an unknown procedure.
  std::uint32_t AddEvent(const Procedure& procedure, const DebugEvent& event, TextView message);
  // "Module.Procedure"; empty for an unknown procedure.
  [[nodiscard]] static Text SourceOf(const Procedure& procedure);
  [[nodiscard]] Values ValuesOf(const Procedure& procedure) const;

  // --- the dump

  using Sink = std::function<void(std::string_view utf8)>;
  void WriteDump(bool incompleteOnly, const Sink& sink);
  // The dump as a file, which appears whole or not at all. The spool file is deleted once the dump is written.
  os::Error WriteDumpFile(TextView path);

 private:
  using Lock = std::lock_guard<std::recursive_mutex>;
  using Records = std::map<ProcId, std::unique_ptr<App_Proc>>;
  class DumpOrder;

  [[nodiscard]] ProcId NextId(std::uint32_t& enterEvent) noexcept;
  [[nodiscard]] bool IsDuplicate(ProcId id) noexcept;
  [[nodiscard]] bool WasIssued(ProcId id) const noexcept;
  void RememberError(ProcId id, Text error);
  App_Proc* MakeRecord(ProcId id, ProcKind kind, TextView module, TextView procedure, std::uint32_t enterEvent);
  void AdoptGuards();
  [[nodiscard]] App_Proc* FindRecord(ProcId id) const;
  void KeepRecords(bool keeps);
  void ExitRecord(App_Proc& record, std::uint32_t exitEvent);
  void HoldRecord(std::unique_ptr<App_Proc> record);
  [[nodiscard]] bool TakesTimes() const noexcept { return holds_ || options_.render.includeTimers; }
  void SpoolRecord(const App_Proc& record, std::uint32_t partsBefore);
  void SpoolEvents(App_Proc& record);

  EventCounts& counts_;
  const SecretMask& secrets_;
  const EntryClock& clock_;
  PerfTimer& timer_;
  std::recursive_mutex& mutex_;
  Complaint complain_;
  os::Files* files_ = nullptr;
  Options options_;
  bool holds_ = false;
  std::atomic<bool> keepsRecords_ = false;  // holds_ or the options', for a guard that enters without the lock

  Records records_;                               // of running procedures
  std::map<ProcId, std::uint32_t> spooledParts_;  // parts of running procedures that are spooled already
  std::map<ProcId, Text> lastErrors_;             // of guards, and of procedures that have exited; bounded
  std::vector<std::unique_ptr<App_Proc>> held_;   // ended while records were held
  std::size_t heldCharacters_ = 0;
  std::uint64_t lostRecords_ = 0;  // which were not held
  ProcSpool spool_;
};

}  // namespace ovs
