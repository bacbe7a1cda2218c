#include "service/Sample.h"

#include "config/Config_Init.h"
#include "diag/App_Debug.h"
#include "diag/MExceptionHandler.h"
#include "diag/Proc.h"

namespace ovs {

namespace {

constexpr std::uint32_t kBoxFlags = 0x10040;  // information icon, brought to the foreground
constexpr std::uint32_t kStopSliceMilliseconds = 3000;

constexpr TextView kChannelKeys[] = {
    u"SYSTEM\\CurrentControlSet\\services\\eventlog\\Microsoft-Windows-Windows Defender/Operational",
    u"SYSTEM\\CurrentControlSet\\services\\eventlog\\"
    u"Microsoft-Windows-Windows Firewall With Advanced Security/Firewall",
    u"SYSTEM\\CurrentControlSet\\services\\eventlog\\Microsoft-Windows-WindowsUpdateClient/Operational",
};

}  // namespace

void RegisterLogChannels(App_Registry& registry) {
  Proc proc(u"Sample", u"RegisterLogChannels", ProcKind::Sub);
  proc.Run([&] {
    for (const TextView key : kChannelKeys) {
      if (registry.RegKeyExist(os::RootKey::LocalMachine, key)) continue;
      registry.RegWriteValue(os::RootKey::LocalMachine, key, {}, Text());
    }
  });
}

void Sample::Main() {
  {
    Proc proc(u"Sample", u"Main", ProcKind::Sub);
    RunMain(proc);
  }
  // Settings that changed are saved now; they stay readable for the reports that follow.
  if (store_) store_->Release();
  MExceptionHandler::UninstallExceptionHandler();
}

void Sample::RunMain(Proc& proc) {
  proc.Run([&] {
    ServiceHost& host = parts_.host;
    if (host.AnotherInstanceRuns()) return;
    const bool isWindowsNT = host.IsWindowsNT();
    host.CreateEvents();
    if (!isWindowsNT) {
      parts_.prompt.Show(u"This program is only for Windows NT/2000/XP/2003.", parts_.environment.Title(), kBoxFlags);
    } else if (!host.StartAsService()) {
      parts_.prompt.Show(u"This program must be started as a service.", parts_.environment.Title(), kBoxFlags);
    } else {
      RunService();
      host.ReportServiceState(ServiceState::Stopped);
      host.FinishDispatcher();
    }
    host.CloseEvents();
  });
}

void Sample::RunService() {
  parts_.environment.SetAutomaticMode(true);
  parts_.host.ReportServiceState(ServiceState::Running);
  RegisterLogChannels(parts_.registry);
  // Subscribed before the rest of the start-up: records that arrive meanwhile wait in the source.
  parts_.source.Connect();
  InitApp();
  Diagnostics().InitDebug(Diagnostics().Switches(), false, {});
  StartMailEngines();
  InitConfig();
  MonitorSettings settings = PathsOf(parts_.environment.ApplicationFolder());
  ReadDisplaySettings(parts_.ini, settings);
  std::uint32_t failReason = 0;
  parts_.fileSystem.EnsureDirExists(settings.rulesFolder, failReason);
  EventLogFiles log(parts_.fileSystem, settings);
  modFilterEvents filter({parts_.fileSystem, parts_.ini, parts_.time, parts_.mailer, log, parts_.clock, parts_.watcher},
                         settings);
  Debug::dLog(kNoProc, u"Entering Main Service Loop");
  MainLoop(filter);
}

void Sample::InitApp() {
  Proc proc(u"Sample", u"InitApp", ProcKind::Sub);
  proc.Run([&] {
    const App_Env& environment = parts_.environment;
    proc.Log(environment.AppTitle_VersionForced() + u" started from " + environment.ApplicationFolder() + u" as " +
             environment.ProgramName() + u", process " + environment.ProcessIdText());
  });
}

// A machine that cannot mail still writes its logs.
void Sample::StartMailEngines() {
  Proc proc(u"Sample", u"StartMailEngines", ProcKind::Sub);
  proc.Run([&] { parts_.mailEngines.Start(); });
}

void Sample::InitConfig() {
  store_ = Config_Init(parts_.fileSystem, parts_.environment, parts_.crypt, {.bStartedAsService = true});
  LoadDebugSettings(store_.get(), true);
  MExceptionHandler::InstallExceptionHandler(0);
}

void Sample::MainLoop(modFilterEvents& filter) {
  for (;;) {
    if (filter.StopPhraseSeen()) {
      if (parts_.host.WaitForStopControl(kStopSliceMilliseconds)) return;
      continue;
    }
    filter.FindEvents(ToEventRecord(parts_.source.NextEvent()));
  }
}

}  // namespace ovs
