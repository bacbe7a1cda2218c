// Procedure records: made at entry while the dump is on, spooled at exit, put in order when the dump is written.
#include "diag/ProcTrace.h"

#include <limits>
#include <utility>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/Proc.h"

namespace ovs {

namespace {

constexpr std::uint32_t kMostIds = std::numeric_limits<std::int32_t>::max();
// A procedure that runs for long hands its events to the spool in pieces of this size.
constexpr std::size_t kHeldEventCharacters = std::size_t{64} * 1024;
// Of so many procedures at most the last error is remembered.
constexpr std::size_t kRememberedErrors = 1000;
// The dump goes to its file in pieces of this many bytes.
constexpr std::size_t kDumpChunk = std::size_t{64} * 1024;

Text DoesNotExist(TextView before, ProcId id) { return Text(before) + NumberText(id) + u"] does not exist!"; }

App_ProcEvent FlowEvent(EventType type, std::uint32_t globalEvent) {
  App_ProcEvent event;
  event.globalEvent = globalEvent;
  event.type = type;
  return event;
}

}  // namespace

ProcTrace::ProcTrace(EventCounts& counts, const SecretMask& secrets, const EntryClock& clock, PerfTimer& timer,
                     std::recursive_mutex& mutex, Complaint complain)
    : counts_(counts), secrets_(secrets), clock_(clock), timer_(timer), mutex_(mutex), complain_(std::move(complain)) {}

void ProcTrace::Attach(os::Files* files) noexcept {
  files_ = files;
  spool_.Attach(files);
}

void ProcTrace::SetOptions(const Options& options) {
  options_ = options;
  KeepRecords(options.keepsRecords || holds_);
}

void ProcTrace::KeepRecords(bool keeps) {
  const bool kept = keepsRecords_.exchange(keeps, std::memory_order_relaxed);
  if (keeps && !kept) AdoptGuards();
}

void ProcTrace::Hold() {
  holds_ = true;
  KeepRecords(true);
}

void ProcTrace::EndHold() {
  holds_ = false;
  KeepRecords(options_.keepsRecords);
  for (const auto& record : std::exchange(held_, {})) {
    if (options_.keepsRecords && (record->HasProblem() || !options_.incompleteOnly)) SpoolRecord(*record, 0);
  }
  heldCharacters_ = 0;
  if (options_.keepsRecords) return;
  lostRecords_ = 0;
  for (Proc* guard = Proc::Innermost(); guard != nullptr; guard = guard->outer_) {
    if (guard->trace_ == this && std::exchange(guard->record_, nullptr) != nullptr) records_.erase(guard->id_);
  }
}

// Memory for the record itself counts like its texts.
void ProcTrace::HoldRecord(std::unique_ptr<App_Proc> record) {
  const std::size_t size = record->HeldCharacters() + record->VariableCharacters() + sizeof(App_Proc) / sizeof(char16_t);
  if (heldCharacters_ + size > kMostHeld) {
    ++lostRecords_;
    return;
  }
  heldCharacters_ += size;
  held_.push_back(std::move(record));
}

// IDs start over at 1 after 2^31 - 1 calls; from then on a procedure may still run under the ID that is due.
ProcId ProcTrace::NextId(std::uint32_t& enterEvent) noexcept {
  const std::uint32_t entered = counts_.CountEntered();
  const auto id = static_cast<ProcId>((entered - 1) % kMostIds + 1);
  if (entered > kMostIds && IsDuplicate(id)) return kNoProc;
  enterEvent = counts_.CountFlow();
  return id;
}

bool ProcTrace::IsDuplicate(ProcId id) noexcept {
  const Lock lock(mutex_);
  if (!Find(id).IsKnown()) return false;
  try {
    complain_(u"App_Debug.ProcNew",
              u"Procedure ID [" + NumberText(id) + u"] would be a duplicate ID, aborting new procedure object creation!");
  } catch (...) {
    return true;
  }
  return true;
}

// Enter and Leave are the price that every procedure pays. Without a record to keep they touch counters alone: no lock, no
// memory.
void ProcTrace::Enter(Proc& guard) noexcept {
  guard.id_ = NextId(guard.enterEvent_);
  if (!keepsRecords_.load(std::memory_order_relaxed) || guard.id_ == kNoProc) return;
  try {
    const Lock lock(mutex_);
    guard.record_ = MakeRecord(guard.id_, guard.kind_, guard.module_, guard.procedure_, guard.enterEvent_);
    guard.record_->BelongToGuard();
  } catch (...) {
    guard.record_ = nullptr;
  }
}

void ProcTrace::Leave(Proc& guard) noexcept {
  if (guard.id_ == kNoProc) return;
  const std::uint32_t exitEvent = counts_.CountFlow();
  counts_.CountExited();
  // Only the guard's own thread changes these two, so they are read without the lock.
  if (guard.record_ == nullptr) return;
  try {
    const Lock lock(mutex_);
    ExitRecord(*guard.record_, exitEvent);
  } catch (...) {
    return;  // without memory the dump lacks this record
  }
}

void ProcTrace::AddVariable(App_Proc& record, VarKind kind, TextView text) noexcept {
  try {
    const Lock lock(mutex_);
    record.AddVariable(kind, secrets_.Masked(text));
  } catch (...) {
    return;  // without memory the record lacks this value
  }
}

ProcId ProcTrace::New(TextView module, TextView procedure, TextView kind) noexcept {
  std::uint32_t enterEvent = 0;
  const ProcId id = NextId(enterEvent);
  if (id == kNoProc) return id;
  try {
    MakeRecord(id, GetProcedureTypeFromString(kind), module, procedure, enterEvent);
    return id;
  } catch (...) {
    return kNoProc;
  }
}

// A guard without a record has no reader for values given by text.
bool ProcTrace::AddVariable(ProcId id, VarKind kind, TextView text) {
  const Procedure procedure = Find(id);
  if (procedure.HasRecord()) procedure.record_->AddVariable(kind, secrets_.Masked(text));
  return procedure.IsKnown() || WasIssued(id);
}

bool ProcTrace::WasIssued(ProcId id) const noexcept {
  return id > 0 && static_cast<std::uint64_t>(id) <= counts_.Values().proceduresEntered;
}

// A guard's record, also one of another thread's guard, stays the guard's: it ends when the guard does.
void ProcTrace::Exit(ProcId id) {
  if (!WasIssued(id)) return complain_(u"App_Debug.ProcExit", DoesNotExist(u"Procedure ID [", id));
  counts_.CountExited();
  const std::uint32_t exitEvent = counts_.CountFlow();
  App_Proc* const record = FindRecord(id);
  if (record != nullptr && !record->IsOfGuard()) ExitRecord(*record, exitEvent);
}

Text ProcTrace::LastError(ProcId id) {
  if (const App_Proc* record = FindRecord(id)) {
    const App_ProcEvent* error = record->LastErrorEvent();
    return error != nullptr ? LastErrorText(error->errors, error->information) : Text();
  }
  const auto found = lastErrors_.find(id);
  if (found != lastErrors_.end()) return found->second;
  return WasIssued(id) ? Text() : DoesNotExist(u"ProcErrorNum:  Procedure ID [", id);
}

// Forgotten is the procedure that was entered first.
void ProcTrace::RememberError(ProcId id, Text error) {
  lastErrors_[id] = std::move(error);
  if (lastErrors_.size() > kRememberedErrors) lastErrors_.erase(lastErrors_.begin());
}

App_Proc* ProcTrace::MakeRecord(ProcId id, ProcKind kind, TextView module, TextView procedure, std::uint32_t enterEvent) {
  auto record = std::make_unique<App_Proc>(id, kind, module, procedure);
  record->Add_ProcedureEvent(FlowEvent(EventType::EnterProcedure, enterEvent));
  App_Proc& kept = *(records_[id] = std::move(record));
  kept.SetEntered(TakesTimes() ? clock_.NowText() : Text(), timer_.GetTime());
  return &kept;
}

// Guards of this thread that were opened before the dump was switched on; their earlier events are counted only. Guards of
// other threads stay without a record: their values belong to those threads.
void ProcTrace::AdoptGuards() {
  for (Proc* guard = Proc::Innermost(); guard != nullptr; guard = guard->outer_) {
    if (guard->trace_ != this || guard->record_ != nullptr || guard->id_ == kNoProc) continue;
    App_Proc* record = MakeRecord(guard->id_, guard->kind_, guard->module_, guard->procedure_, guard->enterEvent_);
    record->BelongToGuard();
    record->SetEarlierEvents(guard->eventCount_);
    record->Vars_Passed_ByVal(secrets_.Masked(guard->RenderVars(VarKind::PassedByVal)));
    record->Vars_Passed_ByRef(secrets_.Masked(guard->RenderVars(VarKind::PassedByRef)));
    guard->record_ = record;
  }
}

App_Proc* ProcTrace::FindRecord(ProcId id) const {
  const auto found = records_.find(id);
  return found == records_.end() ? nullptr : found->second.get();
}

void ProcTrace::ExitRecord(App_Proc& record, std::uint32_t exitEvent) {
  record.Add_ProcedureEvent(FlowEvent(EventType::ExitProcedure, exitEvent));
  record.SetExited(TakesTimes() ? clock_.NowText() : Text(), timer_.GetTime());
  const ProcId id = record.Id();
  if (const App_ProcEvent* error = record.LastErrorEvent()) {
    RememberError(id, LastErrorText(error->errors, error->information));
  }
  const auto spooled = spooledParts_.find(id);
  const std::uint32_t partsBefore = spooled == spooledParts_.end() ? 0 : spooled->second;
  if (holds_ && partsBefore == 0) return HoldRecord(std::move(records_.extract(id).mapped()));
  const bool isListed = record.HasProblem() || !options_.incompleteOnly;
  if (options_.keepsRecords && (isListed || partsBefore != 0)) SpoolRecord(record, partsBefore);
  spooledParts_.erase(id);
  records_.erase(id);
}

// Part 0, the head, comes when its text is complete, so after the parts 1 and so on that hold earlier events. Masked once
// more: of a record that was held, values may be older than the knowledge that they are secret.
void ProcTrace::SpoolRecord(const App_Proc& record, std::uint32_t partsBefore) {
  Text head;
  record.RenderHead(options_.render, head);
  Text rest;
  record.RenderEvents(options_.render, rest);
  record.RenderEnd(rest);
  if (partsBefore == 0) head += rest;
  spool_.Add({record.Id(), 0, record.HasProblem()}, ToUtf8(secrets_.Masked(head)));
  if (partsBefore != 0) spool_.Add({record.Id(), partsBefore + 1, false}, ToUtf8(secrets_.Masked(rest)));
}

void ProcTrace::SpoolEvents(App_Proc& record) {
  if (holds_ || record.HeldCharacters() < kHeldEventCharacters) return;
  if (options_.keepsRecords) {
    Text text;
    record.RenderEvents(options_.render, text);
    spool_.Add({record.Id(), ++spooledParts_[record.Id()], false}, ToUtf8(text));
  }
  record.App_ClassSync_CleanUp();
}

ProcTrace::Procedure ProcTrace::Find(ProcId id) {
  Procedure procedure;
  if (id == kNoProc) return procedure;
  procedure.guard_ = Proc::Find(*this, id);
  procedure.record_ = procedure.guard_ != nullptr ? procedure.guard_->record_ : FindRecord(id);
  return procedure;
}

void ProcTrace::CountEvent(const Procedure& procedure) noexcept {
  if (procedure.guard_ != nullptr) ++procedure.guard_->eventCount_;
}

std::uint32_t ProcTrace::AddEvent(const Procedure& procedure, const DebugEvent& event, TextView message) {
  CountEvent(procedure);
  const bool hasNoRecord = procedure.record_ == nullptr;
  if (hasNoRecord && procedure.guard_ != nullptr && event.isError) {
    RememberError(event.procID, LastErrorText(event.errors, message));
  }
  if (hasNoRecord) return procedure.guard_ != nullptr ? procedure.guard_->eventCount_ : 0;

  App_ProcEvent kept;
  kept.globalEvent = event.numbers.global;
  kept.globalNonFlowEvent = event.numbers.nonFlow;
  kept.typeEvent = event.numbers.type;
  kept.type = event.type;
  kept.isError = event.isError;
  kept.outsideHandler = event.outsideHandler;
  kept.information = message;
  kept.variables = event.variables;
  kept.errors = event.errors;
  const std::uint32_t number = procedure.record_->Add_ProcedureEvent(std::move(kept));
  SpoolEvents(*procedure.record_);
  return number;
}

Text ProcTrace::SourceOf(const Procedure& procedure) {
  if (const Proc* guard = procedure.guard_) return Text(guard->module_).append(u".").append(guard->procedure_);
  return procedure.record_ != nullptr ? procedure.record_->ProcedureSource() : Text();
}

ProcTrace::Values ProcTrace::ValuesOf(const Procedure& procedure) const {
  // Masked before line breaks are made visible, which would hide a secret that holds some.
  const auto masked = [&](VarKind kind) { return secrets_.Masked(procedure.guard_->RenderVars(kind)); };
  if (procedure.guard_ != nullptr) {
    return {masked(VarKind::PassedByVal), masked(VarKind::Created), masked(VarKind::ReturnedByRef)};
  }
  const App_Proc* record = procedure.record_;
  if (record == nullptr) return {};
  return {record->Vars_Passed_ByVal(), record->Vars_Created(), record->Vars_Returned_ByRef()};
}

// Merges the records of running procedures into the spooled ones by ID, and hands all to the sink.
//
// A running procedure may have spooled pieces already: parts from 1 on, events alone. Its record gives the head in front of
// them and the rest behind them. A record that ended gave its head as part 0, which says whether it has a problem; as part 0
// comes first, the parts behind it follow its fate.
class ProcTrace::DumpOrder {
 public:
  DumpOrder(const Records& records, const ProcRenderOptions& options, bool incompleteOnly,
            const std::function<void(std::string_view)>& sink)
      : next_(records.begin()), end_(records.end()), options_(options), incompleteOnly_(incompleteOnly), sink_(sink) {}

  void Spooled(const ProcSpool::Block& block, std::string_view text) {
    while (next_ != end_ && next_->first < block.id) FinishRunning();
    if (next_ != end_ && next_->first == block.id) {
      BeginRunning();
    } else if (block.part == 0) {
      skips_ = incompleteOnly_ && !block.problem;
    }
    if (!skips_) sink_(text);
  }

  void Finish() {
    while (next_ != end_) FinishRunning();
  }

 private:
  void BeginRunning() {
    skips_ = false;
    if (hasBegun_) return;
    hasBegun_ = true;
    Text text;
    next_->second->RenderHead(options_, text);
    sink_(ToUtf8(text));
  }

  void FinishRunning() {
    BeginRunning();
    Text text;
    next_->second->RenderEvents(options_, text);
    next_->second->RenderEnd(text);
    sink_(ToUtf8(text));
    ++next_;
    hasBegun_ = false;
  }

  Records::const_iterator next_;
  Records::const_iterator end_;
  ProcRenderOptions options_;
  bool incompleteOnly_;
  const std::function<void(std::string_view)>& sink_;
  bool hasBegun_ = false;
  bool skips_ = false;
};

void ProcTrace::WriteDump(bool incompleteOnly, const Sink& sink) {
  sink("\r\n----------------------\r\n Begin_ProcDump\r\n");
  DumpOrder order(records_, options_.render, incompleteOnly, sink);
  const bool complete =
      spool_.ForEach([&](const ProcSpool::Block& block, std::string_view text) { order.Spooled(block, text); });
  order.Finish();

  const auto total = [&](TextView key, std::uint64_t value) {
    sink(ToUtf8(Text(key) + NumberText(static_cast<std::int64_t>(value)) + u"\r\n"));
  };
  const EventCounters& counters = counts_.Values();
  total(u"TotalProcedures=", counters.proceduresEntered);
  total(u"NormalEvents=", counters.normal);
  total(u"VerboseEvents=", counters.verbose);
  total(u"ErrorHandlerEvents=", counters.errorHandler);
  total(u"APICallErrorEvents=", counters.apiError);
  total(u"Errors_Outside_ErrorHandler=", counters.errorsOutsideErrorHandler);
  const std::uint64_t lost = spool_.LostBlocks() + lostRecords_;
  if (lost > 0) total(u"RecordsLost=", lost);
  if (!complete) sink("Problem:  Not every record could be read back!\r\n");
  sink("\r\n----------------------\r\n  End_ProcDump\r\n");
}

// Written beside its name and renamed, so that the dump appears whole however long it is.
os::Error ProcTrace::WriteDumpFile(TextView path) {
  const Text unfinished = Text(path) + u".new";
  std::unique_ptr<os::AppendFile> out;
  os::Error error = files_->Write(unfinished, {});
  if (error.Ok()) error = files_->OpenAppend(unfinished, out);
  if (error.Failed()) return error;
  std::string waiting;
  const auto flush = [&] {
    if (error.Ok()) error = out->Append(waiting);
    waiting.clear();
  };
  WriteDump(options_.incompleteOnly, [&](std::string_view utf8) {
    waiting.append(utf8);
    if (waiting.size() >= kDumpChunk) flush();
  });
  flush();
  out = nullptr;
  if (error.Ok()) error = files_->Rename(unfinished, path);
  if (error.Ok()) spool_.Remove();
  return error;
}

}  // namespace ovs
