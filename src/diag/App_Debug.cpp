#include "diag/App_Debug.h"

#include <mutex>
#include <utility>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/DebugEvent.h"
#include "diag/DebugLog.h"
#include "diag/DebugMessage.h"
#include "diag/DebugTime.h"
#include "diag/PendingError.h"
#include "diag/ProcTrace.h"
#include "diag/SecretMask.h"

namespace ovs {

namespace {

constexpr std::uint32_t kGrowthStep = 1000;

// Set for the life of a ScopedDiagnostics.
App_Debug* current = nullptr;

DebugEvent NamedEvent(TextView name, TextView message, TextView variables = {}) {
  DebugEvent event;
  event.name = name;
  event.message = message;
  event.variables = variables;
  return event;
}

Text TagOf(const DebugEvent& event, const ProcTrace::Procedure& procedure) {
  Text tag = procedure.IsKnown() ? ProcTrace::SourceOf(procedure) : Text(event.name);
  if (tag.empty()) tag = event.procID != kNoProc ? u"Err-0" : u"-1";
  if (event.procID != kNoProc) tag += u".ProcID=" + NumberText(event.procID);
  return tag;
}

}  // namespace

// The log, the trace and the counters, which do not know each other, and the little that they share. One mutex stands before
// all of them; it is recursive because what the log calls while it delivers (folder helpers, a listener) may be traced.
struct App_Debug::Parts {
  using Lock = std::lock_guard<std::recursive_mutex>;

  void Log(DebugEvent event, TextView expectedVB, TextView expectedAPI) noexcept;
  void Compose(DebugEvent& event);
  void WriteDumps(bool hasLog);
  void NoteDump(const Text& path, os::Error error, bool hasLog);

  std::recursive_mutex mutex;
  DebugPorts ports;
  DebugSwitches switches;
  std::function<Text()> environmentReport;
  bool dumpsWritten = false;

  EventCounts counts;
  SecretMask secrets;
  SystemMessages messages;
  EntryClock clock;
  PerfTimer timer;
  DebugLog log{secrets, clock};
  ProcTrace trace{counts, secrets, clock,
                  timer,  mutex,   [this](TextView name, TextView finding) {
                    Log(NamedEvent(name, finding), {}, {}); }};
};

App_Debug& Diagnostics() {
  if (current == nullptr) {
    // Never destroyed: procedures are traced until the process ends.
    static App_Debug* const process = new App_Debug;
    current = process;
  }
  return *current;
}

ScopedDiagnostics::ScopedDiagnostics(App_Debug& replacement) : previous_(std::exchange(current, &replacement)) {}

ScopedDiagnostics::~ScopedDiagnostics() { current = previous_; }

App_Debug::App_Debug() : parts_(std::make_unique<Parts>()), trace_(&parts_->trace) { InitDebugModuleVars(); }

App_Debug::~App_Debug() = default;

void App_Debug::Attach(const DebugPorts& ports, DebugEnvironment environment) {
  const Parts::Lock lock(parts_->mutex);
  parts_->ports = ports;
  parts_->environmentReport = environment.environmentReport;
  parts_->messages.Attach(ports.system);
  parts_->clock.Attach(ports.clock, ports.timeZone);
  parts_->timer.Attach(ports.periodTimer);
  parts_->log.Attach(ports.files, ports.system, std::move(environment));
  parts_->trace.Attach(ports.files);
}

// --- One logging call

void App_Debug::dLog(ProcId procID, TextView message, EventType type, TextView variables, TextView expectedVBErrors,
                     TextView expectedAPIErrors) noexcept {
  DebugEvent event = NamedEvent({}, message, variables);
  event.procID = procID;
  event.type = type;
  parts_->Log(std::move(event), expectedVBErrors, expectedAPIErrors);
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
void App_Debug::Parts::Log(DebugEvent event, TextView expectedVB, TextView expectedAPI) noexcept {
  const Lock lock(mutex);
  ReadPendingErrors(event, expectedVB, expectedAPI);
  event.numbers = counts.Count(event.type, event.outsideHandler);
  if (log.IsDelivering()) return;
  try {
    Compose(event);
  } catch (...) {
    // The event is counted; that its entry is lost is no error of the caller.
    event.isError = false;
  }
  static_cast<void>(TakePendingRuntimeError());
}

void App_Debug::Parts::Compose(DebugEvent& event) {
  const ProcTrace::Procedure procedure = trace.Find(event.procID);
  if (event.procID != kNoProc && !procedure.IsKnown()) {
    Log(NamedEvent(u"App_Debug.dLog", u"Procedure does not exist!", u"ProcedureID=" + NumberText(event.procID)), {}, {});
  }
  // An event without a reader is numbered, and no text is made of it.
  if (!log.IsWritten(event.type) && !procedure.HasRecord()) return ProcTrace::CountEvent(procedure);

  Text message = secrets.Masked(event.message);
  const Text variables = secrets.Masked(event.variables);
  CompleteErrors(event, message, messages, secrets);
  event.variables = variables;
  DebugMessage parts;
  parts.procEventID = trace.AddEvent(procedure, event, message);
  if (!log.IsWritten(event.type)) return;

  const Text tag = TagOf(event, procedure);
  const ProcTrace::Values values = event.isError ? trace.ValuesOf(procedure) : ProcTrace::Values();
  parts.procedureTag = tag;
  parts.type = event.type;
  parts.message = message;
  parts.variables = variables;
  parts.errors = event.errors;
  parts.varsByVal = values.byVal;
  parts.varsCreated = values.created;
  parts.varsReturned = values.returned;
  log.Deliver(std::move(parts));
}

// --- Switches, start and end

const EventCounters& App_Debug::Counters() const noexcept { return parts_->counts.Values(); }

const DebugSwitches& App_Debug::Switches() const noexcept { return parts_->switches; }

void App_Debug::SetSwitches(const DebugSwitches& switches) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    // A copy: what is given may be the switches that are in force.
    const DebugSwitches before = parts_->switches;
    parts_->switches = switches;
    parts_->log.SetOptions({switches.verbose, switches.systemOutput, switches.systemOutputPrefix});
    std::uint32_t time = 0;
    if (switches.perfTimer && !before.perfTimer && PerfTimer_InitValues()) PerfTimer_HighRes_Start(time);
    parts_->trace.SetOptions({switches.procDump,
                              switches.procDumpIncompleteOnly,
                              {switches.procDumpIncludeProcTimers, switches.perfTimer, switches.procDumpEventTypes}});
    if (switches.realTime && !before.realTime) parts_->log.StartRealTime();
  } catch (...) {
    // The switches stand; a procedure that already runs may miss its record.
    return;
  }
}

void App_Debug::HoldRecords() noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->trace.Hold();
  } catch (...) {
    return;  // procedures that already run may miss their records
  }
}

void App_Debug::EndHoldOfRecords() noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->trace.EndHold();
  } catch (...) {
    return;
  }
}

void App_Debug::SetEntryListener(EntryListener listener) {
  const Parts::Lock lock(parts_->mutex);
  parts_->log.SetListener(std::move(listener));
}

void App_Debug::InitDebugModuleVars() noexcept {
  const Parts::Lock lock(parts_->mutex);
  parts_->log.SetGrowthStep(kGrowthStep);
  parts_->messages.Clear();
}

void App_Debug::InitDebug(const DebugSwitches& switches, bool openNow, const DebugLogPlace& place) noexcept {
  Proc proc(u"App_Debug", u"InitDebug", ProcKind::Sub);
  proc.Run([&] {
    const Parts::Lock lock(parts_->mutex);
    DebugLog& log = parts_->log;
    const Text path = log.FileFor(place.folder, place.subFolder, place.fileName, place.qualifyName);
    if (log.File().size() < 2) {
      log.SetFile(path);
    } else if (place.switchFile) {
      log.SwitchFile(path);
    }
    parts_->trace.SetSpoolPath(log.FileNoExt() + u" Dump_Proc.tmp");
    parts_->dumpsWritten = false;
    SetSwitches(switches);
    if (openNow) log.StartRealTime();
  });
}

void App_Debug::CleanupDebug() noexcept {
  CleanupDebug_WriteLogs();
  std::uint32_t time = 0;
  PerfTimer_HighRes_Stop(time);
}

void App_Debug::CleanupDebug_WriteLogs() noexcept {
  const Parts::Lock lock(parts_->mutex);
  const PendingErrorScope keeper;
  const bool wasOpen = parts_->log.IsOpen();
  parts_->log.Write(false);
  parts_->log.Close();
  try {
    parts_->WriteDumps(wasOpen);
  } catch (...) {
    return;
  }
}

void App_Debug::Parts::WriteDumps(bool hasLog) {
  const bool wanted = switches.procDump || switches.envDump;
  if (!wanted || dumpsWritten || ports.files == nullptr || log.File().empty()) return;
  dumpsWritten = true;
  // Nobody else has made it while the log is not written in real time.
  log.EnsureFolder();
  if (environmentReport) {
    const Text path = log.FileNoExt() + u" Dump_Env.log";
    NoteDump(path, ports.files->Write(path, ToUtf8(secrets.Masked(environmentReport()))), hasLog);
  }
  const Text path = log.FileNoExt() + u" Dump_Proc.log";
  if (switches.procDump) NoteDump(path, trace.WriteDumpFile(path), hasLog);
}

// A log that was written is closed by now, so it is opened for this once more.
void App_Debug::Parts::NoteDump(const Text& path, os::Error error, bool hasLog) {
  if (error.Ok()) return;
  FailPending(error);
  Log(NamedEvent(u"App_Debug.CleanupDebug_WriteLogs", u"The dump could not be written:  " + path), {}, {});
  if (!hasLog || !log.Open()) return;
  log.Write(false);
  log.Close();
}

// --- The log file

Text App_Debug::DebugLogGetLogFileVar(TextView folder, TextView subFolder, TextView fileName, bool qualifyName) const {
  return parts_->log.FileFor(folder, subFolder, fileName, qualifyName);
}

void App_Debug::DebugLogSetLogFileVars(TextView path) {
  const Parts::Lock lock(parts_->mutex);
  parts_->log.SetFile(path);
  parts_->trace.SetSpoolPath(parts_->log.FileNoExt() + u" Dump_Proc.tmp");
}

Text App_Debug::DebugLogPath(bool withTrailingBackslash) const {
  const Parts::Lock lock(parts_->mutex);
  const Text& folder = parts_->log.Folder();
  return folder.empty() || !withTrailingBackslash ? folder : folder + u"\\";
}

Text App_Debug::DebugLogFile() const {
  const Parts::Lock lock(parts_->mutex);
  return parts_->log.File();
}

Text App_Debug::DebugLogFileNoExt() const {
  const Parts::Lock lock(parts_->mutex);
  return parts_->log.FileNoExt();
}

bool App_Debug::DebugLogStartRealTime() noexcept {
  try {
    const Parts::Lock lock(parts_->mutex);
    return parts_->log.StartRealTime();
  } catch (...) {
    return false;
  }
}

bool App_Debug::DebugLogOpen() noexcept {
  const Parts::Lock lock(parts_->mutex);
  return parts_->log.Open();
}

void App_Debug::DebugLogClose() noexcept {
  const Parts::Lock lock(parts_->mutex);
  parts_->log.Close();
}

void App_Debug::DebugLogWrite(bool reopen) noexcept {
  const Parts::Lock lock(parts_->mutex);
  parts_->log.Write(reopen);
}

void App_Debug::DebugLogAddEntry(TextView entry) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->log.AddEntry(parts_->secrets.Masked(entry));
  } catch (...) {
    return;
  }
}

Text App_Debug::DebugLogText() const {
  const Parts::Lock lock(parts_->mutex);
  return Text(parts_->log.RunText());
}

void App_Debug::OutputDebugStringRaw(TextView text) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->log.DebugOutput(text);
  } catch (...) {
    return;
  }
}

// --- System texts and secrets

bool App_Debug::DebugStringMatch(TextView a, TextView b) { return App_Strings::StringsMatch(a, b); }

Text App_Debug::GetSystemMsg(std::uint32_t number, bool bracketed) noexcept {
  return GetSystemMsg(number, SystemMsgFlavour::Caller, false, bracketed);
}

Text App_Debug::GetSystemMsg(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    return parts_->messages.Get(number, flavour, forceLookup, bracketed);
  } catch (...) {
    return {};
  }
}

void App_Debug::AddSecret(TextView secret) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->secrets.Add(secret);
  } catch (...) {
    return;
  }
}

// --- Procedures without a guard

ProcId App_Debug::ProcNew(TextView moduleName, TextView procedureName, TextView kind) noexcept {
  const Parts::Lock lock(parts_->mutex);
  return parts_->trace.New(moduleName, procedureName, kind);
}

void App_Debug::ProcVar(ProcId id, VarKind kind, TextView text) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    if (parts_->trace.AddVariable(id, kind, text) || (text.empty() && id == kNoProc)) return;
    Text message = u"ProcVar:  ProcID [" + NumberText(id) + u"] does not exist!";
    if (!text.empty()) message.append(u"  Variables_").append(text);
    parts_->log.DebugOutput(message);
  } catch (...) {
    return;
  }
}

void App_Debug::ProcExit(ProcId id) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    parts_->trace.Exit(id);
  } catch (...) {
    return;
  }
}

Text App_Debug::ProcLastError(ProcId id) noexcept {
  const Parts::Lock lock(parts_->mutex);
  try {
    return parts_->trace.LastError(id);
  } catch (...) {
    return {};
  }
}

Text App_Debug::ProcDump(bool incompleteOnly) noexcept {
  try {
    const Parts::Lock lock(parts_->mutex);
    std::string bytes;
    parts_->trace.WriteDump(incompleteOnly, [&](std::string_view utf8) { bytes.append(utf8); });
    return FromUtf8(bytes);
  } catch (...) {
    return {};
  }
}

// --- The performance timer

bool App_Debug::PerfTimer_InitValues() noexcept {
  const Parts::Lock lock(parts_->mutex);
  os::Error error;
  if (parts_->timer.InitValues(error)) return true;
  const PendingErrorScope keeper;
  FailPending(error);
  parts_->Log(NamedEvent(u"App_Debug.PerfTimer_InitValues", u"The system does not tell the timer's periods!"), {}, {});
  return false;
}

bool App_Debug::PerfTimer_HighRes_Start(std::uint32_t& startTime) noexcept {
  const Parts::Lock lock(parts_->mutex);
  return parts_->timer.HighRes_Start(startTime);
}

bool App_Debug::PerfTimer_HighRes_Stop(std::uint32_t& endTime) noexcept {
  const Parts::Lock lock(parts_->mutex);
  return parts_->timer.HighRes_Stop(endTime);
}

std::uint32_t App_Debug::PerfTimer_GetTime() noexcept {
  const Parts::Lock lock(parts_->mutex);
  return parts_->timer.GetTime();
}

Text App_Debug::PerfTimer_MakeTimePretty(std::uint32_t milliseconds, bool withMillis) {
  return PerfTimer::MakeTimePretty(milliseconds, withMillis);
}

}  // namespace ovs
