#include "diag/App_Debug.h"

#include <utility>

#include "base/App_Strings.h"
#include "diag/App_DebugState.h"

namespace ovs {

namespace {

constexpr std::uint32_t kGrowthStep = 1000;

// Set for the life of a ScopedDiagnostics.
App_Debug* current = nullptr;

}  // namespace

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

App_Debug::App_Debug() : state_(std::make_unique<State>()) {
  state_->owner = this;
  InitDebugModuleVars();
}

App_Debug::~App_Debug() = default;

void App_Debug::Attach(const DebugPorts& ports, DebugEnvironment environment) {
  const State::Lock lock(state_->mutex);
  state_->ports = ports;
  state_->environment = std::move(environment);
  state_->messages.Attach(ports.system);
  state_->timer.Attach(ports.periodTimer);
  state_->spool.Attach(ports.files);
}

const EventCounters& App_Debug::Counters() const noexcept { return state_->counters; }

const DebugSwitches& App_Debug::Switches() const noexcept { return state_->switches; }

void App_Debug::SetSwitches(const DebugSwitches& switches) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    const DebugSwitches before = std::exchange(state_->switches, switches);
    std::uint32_t time = 0;
    if (switches.perfTimer && !before.perfTimer && PerfTimer_InitValues()) PerfTimer_HighRes_Start(time);
    if (switches.procDump && !before.procDump) state_->AdoptGuards();
    if (switches.realTime && !before.realTime) state_->StartRealTime();
  } catch (...) {
    // The switches stand; a procedure that already runs may miss its record.
    return;
  }
}

void App_Debug::SetEntryListener(EntryListener listener) {
  const State::Lock lock(state_->mutex);
  state_->listener = std::move(listener);
}

void App_Debug::InitDebugModuleVars() noexcept {
  state_->run.SetGrowthStep(kGrowthStep);
  state_->pending.SetGrowthStep(kGrowthStep);
  state_->messages.Clear();
}

void App_Debug::InitDebug(const DebugSwitches& switches, bool openNow, const DebugLogPlace& place) noexcept {
  Proc proc(u"App_Debug", u"InitDebug", ProcKind::Sub);
  proc.Run([&] {
    const State::Lock lock(state_->mutex);
    const Text path = DebugLogGetLogFileVar(place.folder, place.subFolder, place.fileName, place.qualifyName);
    if (state_->logFile.size() < 2) {
      state_->SetLogFile(path);
    } else if (place.switchFile && !DebugStringMatch(path, state_->logFile) &&
               (state_->file != nullptr || state_->wantsOpen)) {
      state_->Write(false);
      state_->Close();
      state_->SetLogFile(path);
    }
    state_->dumpsWritten = false;
    SetSwitches(switches);
    if (openNow) state_->StartRealTime();
  });
}

void App_Debug::CleanupDebug() noexcept {
  CleanupDebug_WriteLogs();
  std::uint32_t time = 0;
  PerfTimer_HighRes_Stop(time);
}

DebugBufferNumbers App_Debug::RunBuffer() const noexcept {
  const DebugBuffer& buffer = state_->run;
  return {buffer.Capacity(), buffer.Used(), buffer.GrowthStep()};
}

DebugBufferNumbers App_Debug::PendingBuffer() const noexcept {
  const DebugBuffer& buffer = state_->pending;
  return {buffer.Capacity(), buffer.Used(), buffer.GrowthStep()};
}

void App_Debug::OutputDebugStringRaw(TextView text) noexcept {
  const State::Lock lock(state_->mutex);
  if (!state_->switches.systemOutput || state_->ports.system == nullptr) return;
  try {
    state_->ports.system->DebugOutput(state_->Masked(text));
  } catch (...) {
    return;
  }
}

bool App_Debug::DebugStringMatch(TextView a, TextView b) { return App_Strings::StringsMatch(a, b); }

Text App_Debug::GetSystemMsg(std::uint32_t number, bool bracketed) noexcept {
  return GetSystemMsg(number, SystemMsgFlavour::Caller, false, bracketed);
}

Text App_Debug::GetSystemMsg(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    return state_->messages.Get(number, flavour, forceLookup, bracketed);
  } catch (...) {
    return {};
  }
}

bool App_Debug::PerfTimer_InitValues() noexcept {
  const PendingErrorKeeper keeper;
  if (state_->timer.InitValues()) return true;
  state_->LogNamed(u"App_Debug.PerfTimer_InitValues", u"The system does not tell the timer's periods!");
  return false;
}

bool App_Debug::PerfTimer_HighRes_Start(std::uint32_t& startTime) noexcept { return state_->timer.HighRes_Start(startTime); }

bool App_Debug::PerfTimer_HighRes_Stop(std::uint32_t& endTime) noexcept { return state_->timer.HighRes_Stop(endTime); }

std::uint32_t App_Debug::PerfTimer_GetTime() noexcept { return state_->timer.GetTime(); }

Text App_Debug::PerfTimer_MakeTimePretty(std::uint32_t milliseconds, bool withMillis) {
  return PerfTimer::MakeTimePretty(milliseconds, withMillis);
}

void App_Debug::AddSecret(TextView secret) noexcept {
  const State::Lock lock(state_->mutex);
  try {
    state_->secrets.Add(secret);
  } catch (...) {
    return;
  }
}

}  // namespace ovs
