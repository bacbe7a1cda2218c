// Procedure records: made at entry while the dump is on, spooled at exit, put in order when the dump is written.
#include <limits>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_DebugState.h"

namespace ovs {

namespace {

constexpr std::uint32_t kMostIds = std::numeric_limits<std::int32_t>::max();
// A procedure that runs for long hands its events to the spool in pieces of this size.
constexpr std::size_t kHeldEventCharacters = std::size_t{64} * 1024;

Text DoesNotExist(TextView before, ProcId id) { return Text(before) + NumberText(id) + u"] does not exist!"; }

// Orders what runs among what is spooled, and hands all to the sink.
class DumpOrder {
 public:
  using Records = std::map<ProcId, std::unique_ptr<App_Proc>>;
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

}  // namespace

// Also the count of procedures entered; IDs start over at 1 after 2^31 - 1 calls.
ProcId App_Debug::State::NextId(std::uint32_t& enterEvent) noexcept {
  const std::uint32_t entered = CountUp(counters.proceduresEntered);
  const auto id = static_cast<ProcId>((entered - 1) % kMostIds + 1);
  if (entered > kMostIds && IsDuplicate(id)) return kNoProc;
  enterEvent = CountUp(counters.globalEvents);
  return id;
}

bool App_Debug::State::IsDuplicate(ProcId id) noexcept {
  const Lock lock(mutex);
  if (Proc::Find(*owner, id) == nullptr && FindRecord(id) == nullptr) return false;
  try {
    LogNamed(u"App_Debug.ProcNew",
             u"Procedure ID [" + NumberText(id) + u"] would be a duplicate ID, aborting new procedure object creation!");
  } catch (...) {
    return true;
  }
  return true;
}

App_Proc* App_Debug::State::MakeRecord(ProcId id, ProcKind kind, TextView module, TextView procedure,
                                       std::uint32_t enterEvent) {
  auto record = std::make_unique<App_Proc>(id, kind, module, procedure);
  App_ProcEvent entry;
  entry.globalEvent = enterEvent;
  entry.type = EventType::EnterProcedure;
  record->Add_ProcedureEvent(std::move(entry));
  App_Proc& kept = *(records[id] = std::move(record));
  kept.SetEntered(switches.procDumpIncludeProcTimers ? NowText() : Text(), timer.GetTime());
  return &kept;
}

// Guards opened before the dump was switched on; their earlier events are counted only.
void App_Debug::State::AdoptGuards() {
  for (Proc* guard = Proc::Innermost(); guard != nullptr; guard = guard->outer_) {
    if (guard->owner_ != owner || guard->record_ != nullptr || guard->id_ == kNoProc) continue;
    App_Proc* record = MakeRecord(guard->id_, guard->kind_, guard->module_, guard->procedure_, guard->enterEvent_);
    record->SetEarlierEvents(guard->eventCount_);
    for (const VarKind kind : {VarKind::PassedByVal, VarKind::PassedByRef}) {
      record->SetVariables(kind, Masked(guard->RenderVars(kind)));
    }
    guard->record_ = record;
  }
}

App_Proc* App_Debug::State::FindRecord(ProcId id) {
  const auto found = records.find(id);
  return found == records.end() ? nullptr : found->second.get();
}

void App_Debug::State::ExitRecord(App_Proc& record, std::uint32_t exitEvent) {
  App_ProcEvent exit;
  exit.globalEvent = exitEvent;
  exit.type = EventType::ExitProcedure;
  record.Add_ProcedureEvent(std::move(exit));
  record.SetExited(switches.procDumpIncludeProcTimers ? NowText() : Text(), timer.GetTime());
  const ProcId id = record.Id();
  const bool isListed = record.HasProblem() || !switches.procDumpIncompleteOnly;
  const auto spooled = spooledParts.find(id);
  if (switches.procDump && (isListed || spooled != spooledParts.end())) {
    Text head;
    record.RenderHead(RenderOptions(), head);
    Text rest;
    record.RenderEvents(RenderOptions(), rest);
    record.RenderEnd(rest);
    const std::uint32_t before = spooled == spooledParts.end() ? 0 : spooled->second;
    if (before == 0) head += rest;
    spool.Add({id, 0, record.HasProblem()}, ToUtf8(head));
    if (before != 0) spool.Add({id, before + 1, false}, ToUtf8(rest));
  }
  spooledParts.erase(id);
  records.erase(id);
}

void App_Debug::State::SpoolEvents(App_Proc& record) {
  if (record.HeldCharacters() < kHeldEventCharacters) return;
  if (switches.procDump) {
    Text text;
    record.RenderEvents(RenderOptions(), text);
    spool.Add({record.Id(), ++spooledParts[record.Id()], false}, ToUtf8(text));
  }
  record.App_ClassSync_CleanUp();
}

ProcRenderOptions App_Debug::State::RenderOptions() const {
  return {switches.procDumpIncludeProcTimers, switches.perfTimer, switches.procDumpEventTypes};
}

void App_Debug::State::WriteProcDump(bool incompleteOnly, const Sink& sink) {
  sink("\r\n----------------------\r\n Begin_ProcDump\r\n");
  DumpOrder order(records, RenderOptions(), incompleteOnly, sink);
  const bool complete =
      spool.ForEach([&](const ProcSpool::Block& block, std::string_view text) { order.Spooled(block, text); });
  order.Finish();

  const auto total = [&](TextView key, std::uint64_t value) {
    sink(ToUtf8(Text(key) + NumberText(static_cast<std::int64_t>(value)) + u"\r\n"));
  };
  total(u"TotalProcedures=", counters.proceduresEntered);
  total(u"NormalEvents=", counters.normal);
  total(u"VerboseEvents=", counters.verbose);
  total(u"ErrorHandlerEvents=", counters.errorHandler);
  total(u"APICallErrorEvents=", counters.apiError);
  total(u"Errors_Outside_ErrorHandler=", counters.errorsOutsideErrorHandler);
  if (spool.LostBlocks() > 0) total(u"RecordsLost=", spool.LostBlocks());
  if (!complete) sink("Problem:  Not every record could be read back!\r\n");
  sink("\r\n----------------------\r\n  End_ProcDump\r\n");
}

Text App_Debug::ProcDump(bool incompleteOnly) noexcept {
  try {
    const State::Lock lock(state_->mutex);
    std::string bytes;
    state_->WriteProcDump(incompleteOnly, [&](std::string_view utf8) { bytes.append(utf8); });
    return FromUtf8(bytes);
  } catch (...) {
    return {};
  }
}

ProcId App_Debug::ProcNew(TextView moduleName, TextView procedureName, TextView kind) noexcept {
  std::uint32_t enterEvent = 0;
  const ProcId id = state_->NextId(enterEvent);
  if (id == kNoProc) return id;
  try {
    const State::Lock lock(state_->mutex);
    state_->MakeRecord(id, GetProcedureTypeFromString(kind), moduleName, procedureName, enterEvent);
    return id;
  } catch (...) {
    return kNoProc;
  }
}

void App_Debug::ProcVar(ProcId id, VarKind kind, TextView text) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    if (App_Proc* record = state_->FindRecord(id)) return record->AddVariable(kind, state_->Masked(text));
    // A guard without a record has no reader for values given by text.
    if (Proc::Find(*this, id) != nullptr || (text.empty() && id == kNoProc)) return;
    Text message = DoesNotExist(u"ProcVar:  ProcID [", id);
    if (!text.empty()) message.append(u"  Variables_").append(text);
    OutputDebugStringRaw(message);
  } catch (...) {
    return;
  }
}

void App_Debug::ProcExit(ProcId id) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    if (App_Proc* record = state_->FindRecord(id)) {
      CountUp(state_->counters.proceduresExited);
      return state_->ExitRecord(*record, CountUp(state_->counters.globalEvents));
    }
    state_->LogNamed(u"App_Debug.ProcExit", DoesNotExist(u"Procedure ID [", id));
  } catch (...) {
    return;
  }
}

Text App_Debug::ProcLastError(ProcId id) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    if (const App_Proc* record = state_->FindRecord(id)) {
      const App_ProcEvent* error = record->LastErrorEvent();
      return error != nullptr ? LastErrorText(error->errors, error->information) : Text();
    }
    const auto found = state_->lastErrors.find(id);
    if (found != state_->lastErrors.end()) return found->second;
    if (Proc::Find(*this, id) != nullptr) return {};
    return DoesNotExist(u"ProcErrorNum:  Procedure ID [", id);
  } catch (...) {
    return {};
  }
}

}  // namespace ovs
