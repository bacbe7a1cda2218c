// ovsctl uninstall: takes the service out of the machine again.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "base/App_Strings.h"
#include "diag/App_Debug.h"
#include "monitor/GlobalExclusions.h"
#include "os/win32/Win32Support.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/service/win32/EventRecordWriter.h"
#include "ovsctl/service/win32/FolderAccess.h"
#include "ovsctl/service/win32/ServiceCommands.h"
#include "ovsctl/service/win32/ServiceControl.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs::win32 {

namespace {

struct UninstallOptions {
  std::string applicationFolder;
  StopOptions stop;
  bool purge = false;  // delete settings, rules and logs as well
  bool yes = false;    // without asking
};

using Console::Shown;

// Deletes what the service is known to have, and nothing else: a folder that holds more stays.
class Purge {
 public:
  explicit Purge(Installation& installation) : installation_(installation), files_(installation.FileSystem().Files()) {}

  // False when something could not be deleted.
  bool Run() {
    const Text& application = installation_.Environment().ApplicationFolder();
    const Text data = installation_.Environment().DataFolder();
    const Text debugLogs = data + Text(kDebugLogsFolder);
    const Text program = installation_.Environment().ProgramName();
    Clear(
        installation_.Settings().rulesFolder,
        [](TextView name) { return MatchesMask(name, u"*.DAT") || GlobalExclusions::IsListName(name); }, true);
    Clear(
        application + u"Config", [](TextView name) { return MatchesMask(name, u"Orvanta.ini"); }, true);
    Clear(
        application, [&](TextView name) { return MatchesMask(name, u"EventLogs*.txt;" + program + u".cfg"); }, false);
    Clear(
        debugLogs + u"\\" + program, [](TextView name) { return MatchesMask(name, u"*.log"); }, true);
    Clear(
        debugLogs, [](TextView) { return false; }, true);
    Clear(
        App_Strings::StripTrailingBackslash(data), [](TextView) { return false; }, true);
    Console::Print("Files deleted: " + std::to_string(deleted_) + ".");
    return !failed_;
  }

 private:
  // A link in place of a folder leads to what is not the service's.
  template <typename IsOurs>
  void Clear(const Text& folder, IsOurs isOurs, bool folderToo) {
    os::FileInfo info;
    if (files_.Info(folder, info).Failed() || (info.attributes & os::FileAttribute::kReparsePoint) != 0) return;
    std::vector<os::DirEntry> entries;
    if (const os::Error error = files_.List(folder, entries); error.Failed()) return Note(folder, error);
    std::size_t left = 0;
    for (const os::DirEntry& entry : entries) {
      if (entry.info.IsDirectory() || !isOurs(entry.name)) {
        ++left;
      } else {
        const Text path = App_FilePath::JoinPath(folder, entry.name);
        const os::Error error = files_.Delete(path);
        error.Ok() ? static_cast<void>(++deleted_) : Note(path, error);
      }
    }
    if (!folderToo || left != 0) return;
    if (const os::Error error = files_.RemoveDir(folder); error.Failed()) Note(folder, error);
  }

  void Note(const Text& path, os::Error error) {
    failed_ = true;
    static_cast<void>(FailAt("cannot delete " + Shown(path), error));
  }

  Installation& installation_;
  os::Files& files_;
  std::size_t deleted_ = 0;
  bool failed_ = false;
};

bool AnswersYes(const Text& folder) {
  DWORD mode = 0;
  if (!GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode)) {
    static_cast<void>(
        Console::Fail("--purge deletes settings, rules and logs; nobody can be asked here, so --yes is needed"));
    return false;
  }
  Console::Say("Delete the settings, rules and logs in " + Shown(folder) + "? Type yes:");
  char line[16] = {};
  if (std::fgets(line, sizeof line, stdin) != nullptr && std::string_view(line).starts_with("yes\n")) return true;
  static_cast<void>(Console::Fail("nothing was done"));
  return false;
}

// Files that an earlier uninstall left may be purged still.
int RemoveEntry(const UninstallOptions& options) {
  ServiceHandle service;
  os::Error error = OpenEventService(DELETE | SERVICE_QUERY_STATUS, service);
  if (options.purge && error.Number() == ERROR_SERVICE_DOES_NOT_EXIST) {
    Console::Print("Service entry: there is none.");
    return kDone;
  }
  if (error.Failed()) return FailAt("the service cannot be uninstalled", error);
  if (const int result = StopService(options.stop)) {
    Console::Say("Nothing was uninstalled, because the service could not be stopped.");
    return result;
  }
  error = Outcome(DeleteService(service.get()) != 0);
  if (error.Failed()) return FailAt("the service entry could not be deleted", error);
  Console::Print("Service entry: deleted.");
  return kDone;
}

// kDone when it is gone, kFindings when something of it could not be deleted.
int RunUninstall(const UninstallOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::Open(options.applicationFolder);
  if (!installation) return kFailed;
  const Text& folder = installation->Environment().ApplicationFolder();
  if (options.purge && !options.yes && !AnswersYes(folder)) return kFailed;
  if (const int result = RemoveEntry(options)) return result;
  if (const os::Error error = RemoveEventSource(); error.Failed()) {
    return FailAt("the event source could not be deleted", error);
  }
  Console::Print("Event source: deleted.");
  if (!options.purge) {
    Console::Print("Settings, rules and logs stay in " + Shown(folder));
    return kDone;
  }
  return Purge(*installation).Run() ? kDone : kFindings;
}

}  // namespace

void AddUninstallCommand(Program& program) {
  const auto options = std::make_shared<UninstallOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "uninstall",
       .purpose = "Stop the event service and take it out of the machine. Settings, rules and logs stay, unless --purge is "
                  "given. Needs administrator rights.",
       .examples = "ovsctl uninstall\n"
                   "ovsctl uninstall --purge --yes"},
      [options] { return RunUninstall(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag(
      "--purge", options->purge,
      "Also delete Orvanta.ini, the rules and exclusion lists, EventLogs*.txt, OrvantaEventService.cfg and the "
      "debug logs; folders only when nothing else is in them");
  command->add_flag("--yes", options->yes, "Do not ask before --purge deletes");
  AddWaitOption(*command, options->stop.waitSeconds, "How long to wait for the service to be stopped");
  AddFeedOption(*command, options->stop.feed);
}

}  // namespace ovs::win32
