// The record of one procedure call and of its events, as the procedure dump shows them.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "base/Text.h"
#include "diag/DebugMessage.h"
#include "diag/Events.h"

namespace ovs {

struct App_ProcEvent {
  std::uint32_t globalEvent = 0;
  std::uint32_t globalNonFlowEvent = 0;  // 0 for entry and exit
  std::uint32_t procedureEvent = 0;      // from 1
  std::uint32_t typeEvent = 0;           // the type's own counter
  EventType type = EventType::Normal;
  bool isError = false;
  bool outsideHandler = false;  // an error was pending though no error handler reported it
  Text information;
  Text variables;
  DebugErrors errors;
};

// The event types that a rendered record lists: bits of EventType, -1 all.
using EventTypeSet = std::int32_t;

struct ProcRenderOptions {
  bool includeTimers = false;
  bool includePerf = false;
  EventTypeSet eventTypes = -1;
};

// The record of one procedure call. Not locked: its owner lets one thread in at a time. Texts arrive masked.
class App_Proc {
 public:
  App_Proc(ProcId id, ProcKind kind, TextView module, TextView procedure);

  [[nodiscard]] ProcId Id() const noexcept { return id_; }
  [[nodiscard]] const Text& ProcedureSource() const noexcept { return source_; }  // "Module.Procedure"

  // Variables of one kind; several values are joined with "<sep>". A kind that is none of VarKind counts as created.
  void AddVariable(VarKind kind, TextView text);
  [[nodiscard]] const Text& Vars_Passed_ByVal() const noexcept { return vars_[0]; }
  [[nodiscard]] const Text& Vars_Passed_ByRef() const noexcept { return vars_[1]; }
  [[nodiscard]] const Text& Vars_Created() const noexcept { return vars_[2]; }
  [[nodiscard]] const Text& Vars_Returned_ByRef() const noexcept { return vars_[3]; }
  [[nodiscard]] const Text& Vars_Function_Result() const noexcept { return vars_[4]; }

  // Local time as text (empty when it is not to be shown) and a reading of the performance timer in milliseconds.
  void SetEntered(Text time, std::uint32_t perf);
  void SetExited(Text time, std::uint32_t perf);
  [[nodiscard]] Text Perf_GetElapsedTime() const;

  // Numbers the event within the procedure and adds it; the number is returned.
  std::uint32_t Add_ProcedureEvent(App_ProcEvent event);
  // The procedure has a guard, which alone ends it.
  void BelongToGuard() noexcept { isOfGuard_ = true; }
  [[nodiscard]] bool IsOfGuard() const noexcept { return isOfGuard_; }
  // For a record that is made while its procedure already runs: events it had before.
  void SetEarlierEvents(std::uint32_t count) noexcept { eventCount_ = count; }
  // Null while no event was an error.
  [[nodiscard]] const App_ProcEvent* LastErrorEvent() const noexcept;
  // The memory that the held events take, in characters.
  [[nodiscard]] std::size_t HeldCharacters() const noexcept { return heldCharacters_; }
  // The same of its variables.
  [[nodiscard]] std::size_t VariableCharacters() const noexcept;

  // A Function or Property without a (complete) result.
  [[nodiscard]] bool HasProblem() const noexcept;

  // The record's three pieces in the dump: what stands before its events, events, what stands behind them.
  void RenderHead(const ProcRenderOptions& options, Text& out) const;
  void RenderEvents(const ProcRenderOptions& options, Text& out) const;
  void RenderEnd(Text& out) const;
  // Appends the lines of one event.
  static void Dump_Event(const App_ProcEvent& event, Text& out);
  // Forgets the held events; counters and numbering go on.
  void App_ClassSync_CleanUp();

  // --- For other programs of the family; the service itself does not call these ---

  [[nodiscard]] std::uint32_t EventCount() const noexcept { return eventCount_; }
  [[nodiscard]] std::uint32_t EventCount_NonFlow() const noexcept { return nonFlow_; }
  [[nodiscard]] std::uint32_t EventCount_APIErrors() const noexcept { return apiErrors_; }
  [[nodiscard]] std::uint32_t EventCount_ErrorHandler() const noexcept { return errorHandler_; }
  [[nodiscard]] std::uint32_t EventCount_ErrorsOutsideHandler() const noexcept { return outsideHandler_; }
  [[nodiscard]] std::uint32_t EventCount_By_EventType(EventType type) const noexcept;
  [[nodiscard]] const Text& Time_Entered() const noexcept { return timeEntered_; }
  [[nodiscard]] const Text& Time_Exited() const noexcept { return timeExited_; }
  [[nodiscard]] std::uint32_t Perf_GetStartTime() const noexcept { return perfStart_; }
  [[nodiscard]] std::uint32_t Perf_GetEndTime() const noexcept { return perfEnd_; }
  // Held events by their number within the procedure; null when that event is not held.
  [[nodiscard]] bool EventExists(std::uint32_t number) const noexcept;
  [[nodiscard]] const App_ProcEvent* ProcedureEventObject(std::uint32_t number) const noexcept;
  // The held events in the order of their numbers.
  [[nodiscard]] const std::deque<App_ProcEvent>& NewEnum() const noexcept { return events_; }
  // These replace all values of a kind.
  void Vars_Passed_ByVal(Text text) { vars_[0] = std::move(text); }
  void Vars_Passed_ByRef(Text text) { vars_[1] = std::move(text); }
  void Vars_Created(Text text) { vars_[2] = std::move(text); }
  void Vars_Returned_ByRef(Text text) { vars_[3] = std::move(text); }
  void Vars_Function_Result(Text text) { vars_[4] = std::move(text); }

 private:
  Text& Variables(VarKind kind) noexcept;
  [[nodiscard]] Text ResultLine() const;
  [[nodiscard]] bool ReturnsValue() const noexcept { return kind_ == ProcKind::Function || kind_ == ProcKind::Property; }

  ProcId id_;
  ProcKind kind_;
  Text source_;
  Text vars_[5];
  Text timeEntered_;
  Text timeExited_;
  std::uint32_t perfStart_ = 0;
  std::uint32_t perfEnd_ = 0;
  bool exited_ = false;
  bool isOfGuard_ = false;
  std::deque<App_ProcEvent> events_;
  std::optional<App_ProcEvent> lastError_;
  std::uint32_t eventCount_ = 0;
  std::uint32_t nonFlow_ = 0;
  std::uint32_t apiErrors_ = 0;
  std::uint32_t errorHandler_ = 0;
  std::uint32_t outsideHandler_ = 0;
  std::uint32_t errorEvents_ = 0;
  std::uint32_t byType_[7] = {};  // by bit, the last for every other value
  std::size_t heldCharacters_ = 0;
};

}  // namespace ovs
