// ovsctl install: the service entry, its event source, and an application folder that only administrators can change.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "config/SettingNames.h"
#include "os/win32/Win32Support.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/service/win32/DefaultFiles.h"
#include "ovsctl/service/win32/EventRecordWriter.h"
#include "ovsctl/service/win32/FolderAccess.h"
#include "ovsctl/service/win32/ServiceCommands.h"
#include "ovsctl/service/win32/ServiceControl.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs::win32 {

namespace {

using Console::Shown;

constexpr TextView kDisplayName = kTitle;
constexpr wchar_t kDescription[] =
    L"Watches the Windows event logs, matches each record against rule files, writes alerts to log files and mails them.";
// Records that arrive while the service is down are not seen, so it comes back soon. The last delay serves all later
// failures.
constexpr DWORD kSecond = 1000;
constexpr std::array<DWORD, 3> kRestartDelays = {5 * kSecond, 30 * kSecond, 60 * kSecond};
constexpr DWORD kDay = 24 * 60 * 60;

class Installer {
 public:
  explicit Installer(Installation& installation)
      : installation_(installation),
        folder_(installation.Environment().ApplicationFolder()),
        dataFolder_(App_Strings::StripTrailingBackslash(installation.Environment().DataFolder())) {}

  int Run();

 private:
  // One part of the work: true when it is done, which was said then; else `error_` tells why.
  struct Step {
    const char* name;
    bool (Installer::*run)();
  };
  static const std::array<Step, 7> kSteps;

  [[nodiscard]] bool MayBegin();
  [[nodiscard]] bool IsOwnFolder();
  [[nodiscard]] static bool HoldsNoTrap(TextView folder, Owners owners);
  void LookAtEventLog();
  void LookAtFoldersAbove();
  [[nodiscard]] bool MakeEntry();
  [[nodiscard]] bool DescribeEntry();
  [[nodiscard]] bool MakeEventSource();
  [[nodiscard]] bool Protect(TextView folder, FolderAccess access);
  [[nodiscard]] bool ProtectApplication();
  [[nodiscard]] bool ProtectConfig();
  [[nodiscard]] bool ProtectData();
  [[nodiscard]] bool WriteDefaults();
  [[nodiscard]] bool WriteProgramSettings();
  [[nodiscard]] bool WriteDefaultRules();
  [[nodiscard]] bool Fail(os::Error error);
  int FailInside(std::size_t step);
  int ExplainEntry();

  Installation& installation_;
  Text folder_;
  Text dataFolder_;
  ServiceHandle manager_;
  ServiceHandle service_;
  bool othersCouldWrite_ = false;
  os::Error error_;  // of the step that failed; none where the system gave no number
};

const std::array<Installer::Step, 7> Installer::kSteps = {{
    {"service entry", &Installer::MakeEntry},
    {"description and recovery", &Installer::DescribeEntry},
    {"event source", &Installer::MakeEventSource},
    {"permissions of the application folder", &Installer::ProtectApplication},
    {"folder Config\\Rules and its permissions", &Installer::ProtectConfig},
    {"folder of the debug logs and its permissions", &Installer::ProtectData},
    {"settings and rules", &Installer::WriteDefaults},
}};

int Installer::Run() {
  if (!MayBegin()) return kFailed;
  LookAtEventLog();
  for (std::size_t i = 0; i < kSteps.size(); ++i) {
    if (!(this->*kSteps[i].run)()) return i == 0 ? ExplainEntry() : FailInside(i);
  }
  LookAtFoldersAbove();
  Console::Print(Console::Styled(Console::Style::Good, "Installed.") + " \"ovsctl start\" starts the service.");
  return kDone;
}

bool Installer::MayBegin() {
  if (!installation_.FileSystem().FileExist(folder_ + Text(kServiceProgram))) {
    static_cast<void>(Console::Fail("there is no " + Shown(kServiceProgram) + " in " + Shown(folder_) +
                                    "; put ovsctl beside it, or name its folder with --app"));
    return false;
  }
  const Text folder = App_Strings::StripTrailingBackslash(folder_);
  if (!HoldsNoTrap(folder, Owners::Anybody) || !HoldsNoTrap(dataFolder_, Owners::Trusted) || !IsOwnFolder()) return false;
  othersCouldWrite_ = OthersMayChange(folder) || OthersMayChange(folder_ + Text(kServiceProgram));
  const os::Error error = OpenManager(SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE, manager_);
  if (error.Failed()) static_cast<void>(FailAt("the service cannot be installed", error));
  return error.Ok();
}

// Its permissions are about to change: a folder with other people's files in it must not be locked away from them.
bool Installer::IsOwnFolder() {
  static constexpr TextView kOwn[] = {
      u"OrvantaEventService*", u"ovsctl*", u"Config", u"EventLogs*", u"*.cfg", u"docs", u"*.md", u"*.txt", u"LICENSE*"};
  std::vector<os::DirEntry> entries;
  if (const os::Error error = installation_.FileSystem().Files().List(folder_, entries); error.Failed()) {
    static_cast<void>(FailAt("the application folder cannot be read", error));
    return false;
  }
  const auto foreign = std::ranges::find_if(entries, [](const os::DirEntry& entry) {
    return std::ranges::none_of(kOwn, [&](TextView mask) { return MatchesMask(entry.name, mask); });
  });
  if (foreign == entries.end()) return true;
  static_cast<void>(Console::Fail(Shown(folder_) + " holds more than the service, such as " + Shown(foreign->name) +
                                  "; put the service into a folder of its own, such as C:\\Program Files\\Orvanta"));
  return false;
}

// A link or a second name of a file would lead permissions and writing somewhere else. The data folder is to be made by
// whoever is trusted: its maker keeps what he opened.
bool Installer::HoldsNoTrap(TextView folder, Owners owners) {
  const std::optional<Text> trap = FindTrap(folder, owners);
  if (trap) static_cast<void>(Console::Fail(Shown(*trap) + "; it cannot be protected, remove it and install again"));
  return !trap;
}

// The service waits for that one when the machine starts; installing does not need it.
void Installer::LookAtEventLog() {
  ServiceHandle eventLog;
  DWORD state = 0;
  const os::Error error = OpenServiceOf(manager_.get(), u"EventLog", SERVICE_QUERY_STATUS, eventLog);
  if (error.Ok() && StateOf(eventLog.get(), state).Ok() && state == SERVICE_RUNNING) return;
  Console::Say("Warning: the Windows Event Log service (EventLog) is not running. Without it no record arrives.");
}

// --- the steps

bool Installer::MakeEntry() {
  const std::wstring program = L"\"" + ToWide(folder_ + Text(kServiceProgram)) + L"\"";
  constexpr wchar_t kDependencies[] = L"EventLog\0";
  service_.reset(CreateServiceW(manager_.get(), ToWide(kServiceName).c_str(), ToWide(kDisplayName).c_str(),
                                SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                                program.c_str(), nullptr, nullptr, kDependencies, nullptr, nullptr));
  if (!service_) return Fail(LastError());
  Console::Print("Service entry: " + Shown(kServiceName) + ", \"" + Shown(kDisplayName) +
                 "\", starts automatically after EventLog, program " + Shown(FromWide(program)) + ".");
  return true;
}

bool Installer::DescribeEntry() {
  std::wstring text = kDescription;
  SERVICE_DESCRIPTIONW description{text.data()};
  if (!ChangeServiceConfig2W(service_.get(), SERVICE_CONFIG_DESCRIPTION, &description)) return Fail(LastError());
  std::array<SC_ACTION, kRestartDelays.size()> restarts;
  std::ranges::transform(kRestartDelays, restarts.begin(), [](DWORD delay) { return SC_ACTION{SC_ACTION_RESTART, delay}; });
  SERVICE_FAILURE_ACTIONSW actions{};
  actions.dwResetPeriod = kDay;
  actions.cActions = static_cast<DWORD>(restarts.size());
  actions.lpsaActions = restarts.data();
  if (!ChangeServiceConfig2W(service_.get(), SERVICE_CONFIG_FAILURE_ACTIONS, &actions)) return Fail(LastError());
  const auto seconds = [](std::size_t i) { return std::to_string(kRestartDelays[i] / kSecond); };
  Console::Print("Recovery: restarts " + seconds(0) + ", " + seconds(1) + " and " + seconds(2) +
                 " seconds after the first, second and later failures; counted anew after a day.");
  SERVICE_FAILURE_ACTIONS_FLAG always{TRUE};
  if (ChangeServiceConfig2W(service_.get(), SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &always)) return true;
  if (GetLastError() != ERROR_INVALID_LEVEL) return Fail(LastError());
  Console::Say("This system restarts the service after a crash only, not after it ended with an error.");
  return true;
}

bool Installer::MakeEventSource() {
  if (const os::Error error = EnsureEventSource(folder_ + Text(kServiceProgram), true); error.Failed()) return Fail(error);
  Console::Print("Event source: OrvantaEventService, in the Application log.");
  return true;
}

// Looked through once more when nobody can add anything.
bool Installer::Protect(TextView folder, FolderAccess access) {
  if (const os::Error error = ProtectFolder(folder, access); error.Failed()) return Fail(error);
  return HoldsNoTrap(folder, Owners::Anybody) || Fail(os::Error(ERROR_CANT_ACCESS_FILE));
}

// Logs and settings hold what is not for everybody, so files are closed unless they are named here.
bool Installer::ProtectApplication() {
  if (!Protect(App_Strings::StripTrailingBackslash(folder_), FolderAccess::AdministratorsUsersEnter)) return false;
  std::vector<os::DirEntry> entries;
  os::Error error = installation_.FileSystem().Files().List(folder_, entries);
  for (const os::DirEntry& entry : entries) {
    const bool isForUsers = MatchesMask(entry.name, u"*.exe;*.md;LICENSE*;docs");
    if (error.Ok() && isForUsers) error = LetUsersRead(folder_ + entry.name);
  }
  if (error.Failed()) return Fail(error);
  Console::Print(std::string("Application folder: ") + (othersCouldWrite_ ? "others could change it; now " : "") +
                 "administrators and the system can change it, users may run its programs.");
  return true;
}

bool Installer::ProtectConfig() {
  const MonitorSettings& settings = installation_.Settings();
  std::uint32_t reason = 0;
  if (!installation_.FileSystem().EnsureDirExists(settings.rulesFolder, reason)) return Fail(os::Error(reason));
  // Set on both, so that it holds for the rules wherever they are moved.
  for (const Text& folder : {folder_ + u"Config", settings.rulesFolder}) {
    if (!Protect(folder, FolderAccess::Administrators)) return false;
  }
  Console::Print("Config and Config\\Rules: open to administrators and the system alone.");
  return true;
}

// Everybody may make folders in the machine's data folder, and lead what the service writes somewhere else by a link.
bool Installer::ProtectData() {
  std::uint32_t reason = 0;
  if (!installation_.FileSystem().EnsureDirExists(dataFolder_, reason)) return Fail(os::Error(reason));
  if (!Protect(dataFolder_, FolderAccess::Administrators)) return false;
  Console::Print("Debug logs: " + Shown(dataFolder_) + ", open to administrators and the system alone.");
  return true;
}

bool Installer::WriteDefaults() {
  const Text& ini = installation_.Settings().configIniPath;
  if (installation_.FileSystem().FileExist(ini)) {
    Console::Print("Settings: kept as they are.");
  } else {
    const os::Error error = installation_.FileSystem().Files().Write(ini, DefaultSettings().content);
    if (error.Failed()) return Fail(error);
    Console::Print("Settings: Config\\Orvanta.ini written; nothing is mailed until it is filled in.");
    if (!WriteProgramSettings()) return false;
  }
  return WriteDefaultRules();
}

// Only with new settings: the mail server of settings that exist may be too old for it.
bool Installer::WriteProgramSettings() {
  const Text path = folder_ + u"OrvantaEventService.cfg";
  if (installation_.FileSystem().FileExist(path)) return true;
  const std::string line = ToUtf8(ProgramSettings::kSmtpSslProtocol.key) + "=2\r\n";
  const os::Error error = installation_.FileSystem().Files().Write(path, line);
  if (error.Failed()) return Fail(error);
  Console::Print("Program settings: OrvantaEventService.cfg written; mails ask for TLS 1.2 or higher.");
  return true;
}

bool Installer::WriteDefaultRules() {
  os::Files& files = installation_.FileSystem().Files();
  const Text& folder = installation_.Settings().rulesFolder;
  std::vector<os::DirEntry> entries;
  if (const os::Error error = files.List(folder, entries); error.Failed()) return Fail(error);
  if (std::ranges::any_of(entries, [](const os::DirEntry& entry) { return MatchesMask(entry.name, u"*.DAT"); })) {
    Console::Print("Rules: kept as they are.");
    return true;
  }
  for (const DefaultFile& rule : DefaultRules()) {
    const os::Error error = files.Write(App_FilePath::JoinPath(folder, rule.name), rule.content);
    if (error.Failed()) return Fail(error);
  }
  Console::Print("Rules: " + std::to_string(DefaultRules().size()) + " examples written.");
  return true;
}

// A user who can rename the folder can put another in its place.
void Installer::LookAtFoldersAbove() {
  Text above = App_Strings::StripTrailingBackslash(folder_);
  const std::size_t root = App_FilePath::RootLength(folder_);
  while (above.size() > root) {
    above.resize(above.rfind(u'\\'));
    const Text asked = above.size() < root ? above + u"\\" : above;
    if (!OthersMayReplaceIn(asked)) continue;
    Console::Say("Warning: others than administrators may rename or delete what lies in " + Shown(asked) +
                 ", the application folder too. Better move it, for instance below C:\\Program Files.");
    return;
  }
}

// --- failures

bool Installer::Fail(os::Error error) {
  error_ = error;
  return false;
}

int Installer::ExplainEntry() {
  if (error_.Number() != ERROR_SERVICE_EXISTS) return FailAt("the service cannot be installed", error_);
  ServiceHandle there;
  const bool isKnown = OpenServiceOf(manager_.get(), kServiceName, SERVICE_QUERY_CONFIG, there).Ok();
  const Text program = isKnown ? SetupOf(there.get()).programPath : Text();
  return Console::Fail("the service is already installed, its program is " + Shown(program) +
                       "; \"ovsctl uninstall\" removes it and leaves settings, rules and logs");
}

int Installer::FailInside(std::size_t step) {
  const int result = FailAt(std::string("not done: ") + kSteps[step].name, error_);
  for (std::size_t i = step + 1; i < kSteps.size(); ++i) Console::Say(std::string("  not done: ") + kSteps[i].name);
  if (const os::Error error = Outcome(DeleteService(service_.get()) != 0); error.Failed()) {
    static_cast<void>(FailAt("the service entry could not be taken back", error));
  } else {
    Console::Say("  The service entry was taken back; what else is told above stays.");
  }
  return result;
}

// kDone when all was done, kFailed when not; the service entry is then taken back.
int RunInstall(const std::string& applicationFolder) {
  const std::unique_ptr<Installation> installation = Installation::Open(applicationFolder);
  return installation ? Installer(*installation).Run() : kFailed;
}

}  // namespace

void AddInstallCommand(Program& program) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "install",
       .purpose =
           "Install the event service: it starts with the machine and is restarted when it fails. Makes Config\\Rules, "
           "default settings and example rules where there are none, and sees to it that only administrators can "
           "change the application folder. Settings, rules and logs that exist stay. Needs administrator rights.",
       .examples = "ovsctl install\n"
                   "ovsctl install --app \"C:\\Program Files\\Orvanta\""},
      [folder] { return RunInstall(*folder); });
  command->add_option("--app", *folder, "Folder of OrvantaEventService.exe (default: the folder of ovsctl)")
      ->type_name("FOLDER");
}

}  // namespace ovs::win32
