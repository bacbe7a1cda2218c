// dLog: one logging call from the pending errors to the finished entry.
#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/App_DebugState.h"
#include "diag/PendingRuntimeError.h"
#include "os/PendingError.h"

namespace ovs {

namespace {

bool IsFlow(EventType type) { return type == EventType::EnterProcedure || type == EventType::ExitProcedure; }

// `expected` holds numbers separated by ",". Compared as numbers: " 05" expects 5.
bool IsExpected(TextView expected, std::int64_t number) noexcept {
  while (!expected.empty()) {
    const std::size_t comma = expected.find(u',');
    const auto member = ParseInt64(App_Strings::TrimBlanks(expected.substr(0, comma)));
    if (member == number) return true;
    expected = comma == TextView::npos ? TextView() : expected.substr(comma + 1);
  }
  return false;
}

void AddApiExpectation(const DebugErrors& errors, Text& message) {
  message += u"  Expected APIError=" + NumberText(errors.apiNumber);
  message.append(u" (").append(errors.apiText).append(u")");
}

void AddVbExpectation(const DebugErrors& errors, Text& message) {
  message += u"  Expected VBError=" + NumberText(errors.vbNumber);
  message.append(u" Desc=").append(errors.vbDescription);
  if (!errors.vbSource.empty()) message.append(u" Source=").append(errors.vbSource);
}

}  // namespace

void App_Debug::dLog(ProcId procID, TextView message, EventType type, TextView variables, TextView expectedVBErrors,
                     TextView expectedAPIErrors) noexcept {
  State::Event event;
  event.procID = procID;
  event.message = message;
  event.type = type;
  event.variables = variables;
  state_->Log(std::move(event), expectedVBErrors, expectedAPIErrors);
}

void App_Debug::dLogErrorHandler(ProcId procID, TextView variables) noexcept {
  const std::uint32_t system = PendingSystemError();
  const std::int64_t number = system != 0 ? std::int64_t{system} : PendingRuntimeErrorNumber();
  Text message;
  try {
    message = u"Error " + NumberText(number);
  } catch (...) {
    message.clear();
  }
  dLog(procID, message, EventType::ErrorHandler, variables);
}

namespace Debug {
void dLog(ProcId procID, TextView message, EventType type, TextView variables, TextView expectedVBErrors,
          TextView expectedAPIErrors) noexcept {
  Diagnostics().dLog(procID, message, type, variables, expectedVBErrors, expectedAPIErrors);
}
}  // namespace Debug

// Everything up to the counters works without memory: an event is counted even when no entry can be made of it.
void App_Debug::State::Log(Event event, TextView expectedVB, TextView expectedAPI) noexcept {
  const Lock lock(mutex);
  Judge(event, expectedVB, expectedAPI);
  Count(event);
  if (delivering) return;
  try {
    Compose(event);
  } catch (...) {
    delivering = false;
  }
  static_cast<void>(TakePendingRuntimeError());
}

void App_Debug::State::LogNamed(TextView name, TextView message, TextView variables) noexcept {
  Event event;
  event.name = name;
  event.message = message;
  event.variables = variables;
  Log(std::move(event), {}, {});
}

void App_Debug::State::Judge(Event& event, TextView expectedVB, TextView expectedAPI) noexcept {
  PendingRuntimeError runtime = TakePendingRuntimeError();
  event.errors.apiNumber = TakePendingSystemError();
  event.errors.vbNumber = runtime.number;
  event.errors.vbDescription = std::move(runtime.description);
  if (runtime.source != kProjectName) event.errors.vbSource = std::move(runtime.source);
  event.outsideHandler = event.errors.Any() && event.type != EventType::ErrorHandler;
  event.apiExpected = event.errors.apiNumber != 0 && IsExpected(expectedAPI, event.errors.apiNumber);
  event.vbExpected = event.errors.vbNumber != 0 && IsExpected(expectedVB, event.errors.vbNumber);
  if (event.apiExpected || event.vbExpected) event.type = EventType::Verbose;
}

void App_Debug::State::Count(Event& event) noexcept {
  event.globalEvent = CountUp(counters.globalEvents);
  event.globalNonFlowEvent = CountUp(counters.globalNonFlowEvents);
  const bool isHandlerType = event.type == EventType::ErrorHandler || event.type == EventType::ApiError;
  if (event.type == EventType::Normal) event.typeEvent = CountUp(counters.normal);
  if (event.type == EventType::Verbose) event.typeEvent = CountUp(counters.verbose);
  if (event.type == EventType::ErrorHandler) event.typeEvent = CountUp(counters.errorHandler);
  if (event.type == EventType::ApiError) event.typeEvent = CountUp(counters.apiError);
  if (event.outsideHandler && !isHandlerType && !IsFlow(event.type)) CountUp(counters.errorsOutsideErrorHandler);
  event.isError = isHandlerType || (event.outsideHandler && !IsFlow(event.type));
}

bool App_Debug::State::IsWritten(EventType type) const noexcept {
  return switches.verbose || !(type == EventType::Verbose || IsFlow(type));
}

void App_Debug::State::Compose(Event& event) {
  Proc* const guard = event.procID == kNoProc ? nullptr : Proc::Find(*owner, event.procID);
  auto* const record = guard != nullptr ? static_cast<App_Proc*>(guard->record_) : FindRecord(event.procID);
  if (event.procID != kNoProc && guard == nullptr && record == nullptr) {
    LogNamed(u"App_Debug.dLog", u"Procedure does not exist!", u"ProcedureID=" + NumberText(event.procID));
  }
  if (!IsWritten(event.type) && record == nullptr) {
    if (guard != nullptr) ++guard->eventCount_;
    return;
  }

  Text message = Masked(event.message);
  const Text variables = Masked(event.variables);
  CompleteErrors(event, message);
  event.variables = variables;
  DebugMessage parts;
  parts.procEventID = NumberEvent(event, message, guard, record);
  if (!IsWritten(event.type)) return;

  const Text tag = TagOf(event, guard, record);
  const VariableTexts values = event.isError ? VariablesOf(guard, record) : VariableTexts();
  parts.procedureTag = tag;
  parts.message = message;
  parts.varsByVal = values.byVal;
  parts.varsCreated = values.created;
  parts.varsReturned = values.returned;
  Deliver(event, parts);
}

Text App_Debug::State::TagOf(const Event& event, const Proc* guard, const App_Proc* record) {
  Text tag(event.name);
  if (guard != nullptr) {
    tag.append(guard->module_).append(u".").append(guard->procedure_);
  } else if (record != nullptr) {
    tag = record->ProcedureSource();
  } else if (event.name.empty()) {
    tag = event.procID != kNoProc ? u"Err-0" : u"-1";
  }
  if (event.procID != kNoProc) tag += u".ProcID=" + NumberText(event.procID);
  return tag;
}

App_Debug::State::VariableTexts App_Debug::State::VariablesOf(const Proc* guard, const App_Proc* record) const {
  if (guard != nullptr) {
    // Masked before line breaks are made visible, which would hide a secret that holds some.
    return {Masked(guard->RenderVars(VarKind::PassedByVal)), Masked(guard->RenderVars(VarKind::Created)),
            Masked(guard->RenderVars(VarKind::ReturnedByRef))};
  }
  if (record == nullptr) return {};
  return {record->Vars_Passed_ByVal(), record->Vars_Created(), record->Vars_Returned_ByRef()};
}

// Texts for the numbers; what was expected moves from the errors into the message.
void App_Debug::State::CompleteErrors(Event& event, Text& message) {
  DebugErrors& errors = event.errors;
  errors.vbDescription = Masked(errors.vbDescription);
  errors.vbSource = Masked(errors.vbSource);
  if (errors.apiNumber != 0) errors.apiText = messages.Get(errors.apiNumber, SystemMsgFlavour::DebugLog, false, false);
  if (event.apiExpected) {
    AddApiExpectation(errors, message);
    errors.apiNumber = 0;
    errors.apiText.clear();
  }
  if (event.vbExpected) {
    AddVbExpectation(errors, message);
    errors.vbNumber = 0;
    errors.vbDescription.clear();
    errors.vbSource.clear();
  }
}

// The event's number within its procedure, 0 outside of procedures.
std::uint32_t App_Debug::State::NumberEvent(const Event& event, TextView message, Proc* guard, App_Proc* record) {
  if (guard != nullptr) ++guard->eventCount_;
  if (guard != nullptr && event.isError) {
    guard->hadError_ = true;
    lastErrors[event.procID] = LastErrorText(event.errors, message);
  }
  if (record == nullptr) return guard != nullptr ? guard->eventCount_ : 0;

  App_ProcEvent kept;
  kept.globalEvent = event.globalEvent;
  kept.globalNonFlowEvent = event.globalNonFlowEvent;
  kept.typeEvent = event.typeEvent;
  kept.type = event.type;
  kept.isError = event.isError;
  kept.outsideHandler = event.outsideHandler;
  kept.information = message;
  kept.variables = event.variables;
  kept.errors = event.errors;
  const std::uint32_t number = record->Add_ProcedureEvent(std::move(kept));
  SpoolEvents(*record);
  return number;
}

void App_Debug::State::Deliver(const Event& event, DebugMessage& parts) {
  parts.type = event.type;
  parts.variables = event.variables;
  parts.errors = event.errors;
  const auto getText = [this](std::uint32_t number) {
    return messages.Get(number, SystemMsgFlavour::DebugLog, false, false);
  };
  const Text body = Masked(ConstructDebugMsg(parts, getText));
  Text entry = NowText();
  if (!entry.empty()) entry += u" ";
  entry.append(GetEventTypeAsString(event.type)).append(u" Event\r\n").append(body);

  const PendingErrorKeeper keeper;
  delivering = true;
  if (switches.systemOutput && ports.system != nullptr) {
    const TextView shown = parts.message.empty() ? kNoMessage : parts.message;
    const Text prefixed = u"[" + switches.systemOutputPrefix + u"]  " + Text(shown);
    parts.message = prefixed;
    ports.system->DebugOutput(u"\r\n" + Masked(ConstructDebugMsg(parts, getText)));
  }
  AddEntry(entry);
  if (listener) listener(entry);
  delivering = false;
}

Text App_Debug::State::NowText() {
  if (ports.clock == nullptr) return {};
  const DateTime utc = DateTimeFromTicks(ports.clock->UtcNow());
  DateTime local = utc;
  if (ports.timeZone != nullptr && !ports.timeZone->ToLocal(utc, local)) local = utc;
  DateFormat format;
  format.includeTime = true;
  format.includeSeconds = true;
  return FormatDate(local, format);
}

Text App_Debug::State::Masked(TextView text) const {
  Text result(text);
  secrets.Apply(result);
  return result;
}

}  // namespace ovs
