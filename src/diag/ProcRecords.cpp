#include "diag/ProcRecords.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "base/Numbers.h"
#include "diag/DebugTime.h"

namespace ovs {

namespace {

constexpr TextView kSeparator = u"<sep>";
constexpr TextView kNoReturnValue = u"Problem:  No return value!";
constexpr TextView kNoReturnLogged = u"Problem:  No return value logged; incomplete debug code!";

std::size_t TypeSlot(EventType type) {
  const auto value = static_cast<std::uint32_t>(type);
  return std::has_single_bit(value) ? std::min<std::size_t>(static_cast<std::size_t>(std::countr_zero(value)), 6) : 6;
}

bool IsListed(EventType type, EventTypeSet wanted) {
  return wanted == -1 || (static_cast<std::uint32_t>(wanted) & static_cast<std::uint32_t>(type)) != 0;
}

void AddKeyLine(const Text& number, TextView key, TextView value, Text& out) {
  out.append(number).append(u".").append(key).append(Visualized(value)).append(u"\r\n");
}

// A result is logged as "name=value".
bool IsResultEmpty(TextView result) {
  const std::size_t at = result.find(u'=');
  return at == TextView::npos ? result.empty() : at + 1 == result.size();
}

Text EventInformation(const App_ProcEvent& event) {
  Text text = event.information;
  const auto add = [&](TextView label, const Text& error) {
    if (!text.empty()) text += u"  ";
    text.append(label).append(error);
  };
  const DebugErrors& errors = event.errors;
  if (errors.apiNumber != 0) add(u"APIError=", ApiErrorText(errors.apiNumber, errors.apiText));
  if (errors.vbNumber != 0) add(u"VBError=", RuntimeErrorText(errors.vbNumber, errors.vbDescription, errors.vbSource));
  return text;
}

}  // namespace

App_Proc::App_Proc(ProcId id, ProcKind kind, TextView module, TextView procedure) : id_(id), kind_(kind), source_(module) {
  source_.append(u".").append(procedure);
}

std::uint32_t App_Proc::EventCount_By_EventType(EventType type) const noexcept { return byType_[TypeSlot(type)]; }

Text& App_Proc::Variables(VarKind kind) noexcept {
  const auto value = static_cast<std::uint32_t>(kind);
  return vars_[std::has_single_bit(value) && value <= 16 ? std::countr_zero(value) : 2];
}

void App_Proc::AddVariable(VarKind kind, TextView text) {
  Text& list = Variables(kind);
  if (!list.empty()) list += kSeparator;
  list += text;
}

void App_Proc::SetEntered(Text time, std::uint32_t perf) {
  timeEntered_ = std::move(time);
  perfStart_ = perf;
}

void App_Proc::SetExited(Text time, std::uint32_t perf) {
  timeExited_ = std::move(time);
  perfEnd_ = perf;
  exited_ = true;
}

// Readings wrap at 2^32; so does their difference.
Text App_Proc::Perf_GetElapsedTime() const { return PerfTimer::MakeTimePretty(perfEnd_ - perfStart_, true); }

std::uint32_t App_Proc::Add_ProcedureEvent(App_ProcEvent event) {
  event.procedureEvent = ++eventCount_;
  const EventType type = event.type;
  ++byType_[TypeSlot(type)];
  if (!IsFlow(type)) ++nonFlow_;
  if (type == EventType::ApiError || event.errors.apiNumber != 0) ++apiErrors_;
  if (type == EventType::ErrorHandler) ++errorHandler_;
  if (event.outsideHandler) ++outsideHandler_;
  if (event.isError) {
    ++errorEvents_;
    lastError_ = event;
  }
  heldCharacters_ += event.information.size() + event.variables.size() + event.errors.apiText.size() +
                     event.errors.vbDescription.size() + event.errors.vbSource.size() + sizeof(App_ProcEvent) / 2;
  events_.push_back(std::move(event));
  return eventCount_;
}

bool App_Proc::EventExists(std::uint32_t number) const noexcept { return ProcedureEventObject(number) != nullptr; }

const App_ProcEvent* App_Proc::ProcedureEventObject(std::uint32_t number) const noexcept {
  const auto found = std::ranges::lower_bound(events_, number, {}, &App_ProcEvent::procedureEvent);
  return found != events_.end() && found->procedureEvent == number ? &*found : nullptr;
}

const App_ProcEvent* App_Proc::LastErrorEvent() const noexcept { return lastError_ ? &*lastError_ : nullptr; }

bool App_Proc::HasProblem() const noexcept { return ReturnsValue() && IsResultEmpty(Vars_Function_Result()); }

Text App_Proc::ResultLine() const {
  if (!ReturnsValue()) return {};
  const TextView key = kind_ == ProcKind::Function ? TextView(u"FunctionReturn") : TextView(u"PropertyReturn");
  Text line = NumberText(id_) + u".";
  line += key;
  const Text& result = Vars_Function_Result();
  if (result.empty()) return line.append(u"Value=").append(kNoReturnLogged).append(u"\r\n");
  line.append(u"=").append(Visualized(result));
  if (IsResultEmpty(result)) line += kNoReturnValue;
  return line += u"\r\n";
}

void App_Proc::RenderHead(const ProcRenderOptions& options, Text& out) const {
  const Text id = NumberText(id_);
  out.append(u"---- NewProcedureID=").append(id).append(u"\r\n");
  AddKeyLine(id, u"Source=", source_, out);
  if (options.includeTimers) {
    AddKeyLine(id, u"TimeEntered=", timeEntered_, out);
    AddKeyLine(id, u"TimeExited=", timeExited_, out);
  }
  if (options.includePerf) {
    AddKeyLine(id, u"PerfStart=", NumberText(perfStart_), out);
    AddKeyLine(id, u"PerfEnd=", exited_ ? NumberText(perfEnd_) : Text(), out);
    AddKeyLine(id, u"PerfElapsed=", exited_ ? Perf_GetElapsedTime() : Text(), out);
  }
  AddKeyLine(id, u"VarsPassedByVal=", Vars_Passed_ByVal(), out);
  AddKeyLine(id, u"VarsPassedByRef=", Vars_Passed_ByRef(), out);
  AddKeyLine(id, u"VarsCreated=", Vars_Created(), out);
  AddKeyLine(id, u"VarsReturnedByRef=", Vars_Returned_ByRef(), out);
  out += ResultLine();
  AddKeyLine(id, u"ErrorEvents=", NumberText(errorEvents_), out);
}

void App_Proc::RenderEvents(const ProcRenderOptions& options, Text& out) const {
  for (const App_ProcEvent& event : events_) {
    if (IsListed(event.type, options.eventTypes)) Dump_Event(event, out);
  }
}

void App_Proc::RenderEnd(Text& out) const { out.append(u"---- EndProcedureID=").append(NumberText(id_)).append(u"\r\n"); }

std::size_t App_Proc::VariableCharacters() const noexcept {
  std::size_t characters = 0;
  for (const Text& each : vars_) characters += each.size();
  return characters;
}

void App_Proc::App_ClassSync_CleanUp() {
  events_.clear();
  heldCharacters_ = 0;
}

void App_Proc::Dump_Event(const App_ProcEvent& event, Text& out) {
  const Text number = NumberText(event.procedureEvent);
  out += u"-----\r\n";
  AddKeyLine(number, u"Global_EventID=", NumberText(event.globalEvent), out);
  AddKeyLine(number, u"Global_NonFlow_EventID=", NumberText(event.globalNonFlowEvent), out);
  AddKeyLine(number, u"Procedure_EventID=", number, out);
  AddKeyLine(number, u"EventType=", GetEventTypeAsString(event.type), out);
  AddKeyLine(number, u"EventInfo=", EventInformation(event), out);
  AddKeyLine(number, u"EventVariables=", event.variables, out);
  const bool textMissing = event.errors.apiText.empty() || event.errors.apiText == SystemMessages::kFailure;
  if (event.errors.apiNumber != 0 && textMissing) {
    out += u"Problem:  Failure retrieving or logging the system error message!\r\n";
  }
}

}  // namespace ovs
