#include "ovsctl/status/StatusFacts.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "config/Config_Init.h"
#include "diag/App_Debug.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/RuleBook.h"
#include "os/Clock.h"
#include "os/Crypto.h"
#include "os/FolderWatch.h"
#include "os/PendingError.h"
#include "ovsctl/cli/LogFiles.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

constexpr std::size_t kAlertsShown = 5;

// The message stands below time and procedure; that of a run-time error has only its number, its text comes later.
Text MessageOf(TextView entry) {
  constexpr std::size_t kMessageLine = 2;
  constexpr TextView kText = u" Desc=";
  const std::vector<TextView> lines = App_Strings::SplitViews(entry, kCrLf);
  for (const TextView line : lines) {
    const std::size_t text = line.find(kText);
    if (line.starts_with(u"VBError=") && text != TextView::npos) return Text(line.substr(text + kText.size()));
  }
  return Text(lines[std::min(kMessageLine, lines.size() - 1)]);
}

// While it lives, the messages that the service's code writes to its debug log are kept.
class Remarks {
 public:
  explicit Remarks(std::vector<Text>& messages) {
    Diagnostics().SetEntryListener([&messages](TextView entry) { messages.push_back(MessageOf(entry)); });
  }
  ~Remarks() { Diagnostics().SetEntryListener({}); }
  Remarks(const Remarks&) = delete;
  Remarks& operator=(const Remarks&) = delete;
};

// As for the first record after a start.
void LookAtRules(Installation& installation, StatusFacts& facts) {
  RuleBook book({.fileSystem = installation.FileSystem(),
                 .ini = installation.Ini(),
                 .clock = os::SystemClock(),
                 .watcher = os::SystemFolderWatcher()},
                installation.Settings());
  book.Refresh();
  for (const auto list : {GlobalExclusions::kIds, GlobalExclusions::kSources, GlobalExclusions::kTexts}) {
    static_cast<void>(book.Exclusions().Lines(list));
  }
  for (const FileProblem& each : book.Problems()) facts.problems.push_back(each.Sentence());
  facts.ruleFiles = book.RuleCount();
  facts.diskEvents = book.DiskEventsOn();
}

// Settings that are incomplete matter only when alerts are to be mailed.
void LookAtMail(Installation& installation, StatusFacts& facts) {
  const auto store = Config_Init(installation.FileSystem(), installation.Environment(), installation.Parts().crypt,
                                 {.bNoReleaseSave = true});
  for (const FileProblem& each : store->Problems()) facts.problems.push_back(each.Sentence());
  ServiceMail mail(installation);
  std::vector<Text> lacks;
  {
    const Remarks remarks(lacks);
    facts.eventEmails = IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings());
    facts.copies = mail.Module().AlertCopies();
    facts.route = mail.Module().RouteOfMails();
  }
  if (!facts.eventEmails) return;
  if (!facts.route.usable) facts.problems.insert(facts.problems.end(), lacks.begin(), lacks.end());
  if (facts.copies.empty()) facts.problems.emplace_back(u"Alerts are to be mailed, but nobody is named who gets them");
}

void LookAtLogs(Installation& installation, StatusFacts& facts) {
  const PendingErrorScope scope;
  os::Files& files = installation.FileSystem().Files();
  for (const Text& path : {installation.Settings().eventLogPath, installation.Settings().eventLogRuleNamesPath}) {
    os::FileInfo info;
    const bool exists = files.Info(path, info);
    facts.logs.push_back({path, exists ? std::optional(info.size) : std::nullopt});
  }
  facts.lastAlerts = LastLines(files, installation.Settings().eventLogRuleNamesPath, kAlertsShown);
  facts.debugFolder =
      installation.Environment().DataFolder() + Text(kDebugLogsFolder) + u"\\" + installation.Environment().ProgramName();
  std::vector<os::DirEntry> entries;
  static_cast<void>(files.List(facts.debugFolder, entries));
  for (const os::DirEntry& entry : entries) {
    if (entry.info.IsDirectory()) continue;
    ++facts.debugFiles;
    facts.debugBytes += entry.info.size;
  }
}

}  // namespace

StatusFacts GatherStatus(Installation& installation) {
  StatusFacts facts;
  facts.service = os::LookAtService();
  facts.hasSettingsFile = installation.FileSystem().FileExist(installation.Settings().configIniPath);
  LookAtRules(installation, facts);
  LookAtMail(installation, facts);
  LookAtLogs(installation, facts);
  return facts;
}

}  // namespace ovs
