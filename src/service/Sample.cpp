#include "service/Sample.h"

#include "config/Config_Init.h"
#include "diag/App_Debug.h"
#include "diag/MExceptionHandler.h"
#include "diag/Proc.h"
#include "mail/message/MailUser.h"
#include "mail/message/modEmailSvc.h"
#include "monitor/AlertSink.h"
#include "monitor/EventLogFiles.h"

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
  if (endedUnread_) ReadSettingsForLog();
  // Settings that changed are saved now; they stay readable for the reports that follow.
  if (store_) store_->Release();
  MExceptionHandler::UninstallExceptionHandler();
}

void Sample::RunMain(Proc& proc) {
  proc.Run([&] {
    ServiceHost& host = peers_.host;
    if (host.AnotherInstanceRuns()) return;
    const bool isWindowsNT = host.IsWindowsNT();
    host.CreateEvents();
    const bool isService = isWindowsNT && host.StartAsService();
    if (!isWindowsNT) {
      Explain(u"This program is only for Windows NT/2000/XP/2003.");
    } else if (!isService) {
      Explain(u"This program must be started as a service.");
    } else {
      RunService();
      // Given up before the control manager knows: it may start the next process at once, while this one saves and dumps.
      host.LeavePlace();
      host.ReportServiceState(ServiceState::Stopped);
      host.FinishDispatcher();
    }
    host.CloseEvents();
  });
}

// However long nobody answers the box, it keeps no service from starting.
void Sample::Explain(TextView text) {
  peers_.host.LeavePlace();
  modules_.machine.prompt.Show(text, modules_.environment.Title(), kBoxFlags);
}

// The settings say whether there is a debug log; without them an error of the start-up would be told nowhere.
void Sample::ReadSettingsForLog() {
  Proc proc(u"Sample", u"ReadSettingsForLog", ProcKind::Sub);
  proc.Run([&] {
    Diagnostics().InitDebug(Diagnostics().Switches(), false, {});
    InitConfig();
  });
}

void Sample::RunService() {
  endedUnread_ = true;
  modules_.environment.SetAutomaticMode(true);
  peers_.host.ReportServiceState(ServiceState::Running);
  RegisterLogChannels(modules_.registry);
  // Subscribed before the rest of the start-up: records that arrive meanwhile wait in the source.
  peers_.source.Connect();
  InitApp();
  Diagnostics().InitDebug(Diagnostics().Switches(), false, {});
  StartMailEngines();
  InitConfig();
  caption_ = modules_.environment.GetAppCaption();
  RunMonitor();
}

void Sample::RunMonitor() {
  MonitorSettings settings = PathsOf(modules_.environment.ApplicationFolder());
  ReadDisplaySettings(modules_.ini, settings);
  std::uint32_t failReason = 0;
  modules_.fileSystem.EnsureDirExists(settings.rulesFolder, failReason);
  PlainMailUser user(modules_.machine.prompt);
  modEmailSvc mailer({.ini = modules_.ini,
                      .registry = modules_.registry,
                      .fileSystem = modules_.fileSystem,
                      .environment = modules_.environment,
                      .engines = peers_.mailEngines,
                      .user = user,
                      .store = *store_});
  AlertAction action(modules_.ini, mailer, settings);
  EventLogFiles log(modules_.fileSystem, modules_.machine.clock, settings);
  AlertSequence alerts({action, log});
  modFilterEvents filter({.fileSystem = modules_.fileSystem,
                          .ini = modules_.ini,
                          .time = modules_.time,
                          .clock = modules_.machine.clock,
                          .watcher = modules_.machine.folderWatcher,
                          .alerts = alerts},
                         settings);
  Debug::dLog(kNoProc, u"Entering Main Service Loop");
  MainLoop(filter, log);
}

void Sample::InitApp() {
  Proc proc(u"Sample", u"InitApp", ProcKind::Sub);
  proc.Run([&] {
    const App_Env& environment = modules_.environment;
    proc.Log(environment.AppTitle_VersionForced() + u" started from " + environment.ApplicationFolder() + u" as " +
             environment.ProgramName() + u", process " + environment.ProcessIdText());
  });
}

// A machine that cannot mail still writes its logs.
void Sample::StartMailEngines() {
  Proc proc(u"Sample", u"StartMailEngines", ProcKind::Sub);
  proc.Run([&] { peers_.mailEngines.Start(); });
}

void Sample::InitConfig() {
  store_ = Config_Init(modules_.fileSystem, modules_.environment, modules_.crypt, {.bStartedAsService = true});
  LoadDebugSettings(store_.get(), true);
  Diagnostics().EndHoldOfRecords();
  endedUnread_ = false;
  MExceptionHandler::InstallExceptionHandler(0);
}

void Sample::MainLoop(modFilterEvents& filter, EventLogFiles& log) {
  for (;;) {
    log.Tend();
    if (filter.StopPhraseSeen()) {
      if (peers_.host.WaitForStopControl(kStopSliceMilliseconds)) return;
      continue;
    }
    filter.FindEvents(ToEventRecord(peers_.source.NextEvent()));
  }
}

}  // namespace ovs
