#include "ovsctl/status/StatusFacts.h"

#include "diag/App_Debug.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/RuleBook.h"
#include "ovsctl/cli/LogFiles.h"
#include "ovsctl/mail/ServiceMail.h"

namespace ovs {

namespace {

constexpr std::size_t kAlertsShown = 5;

// As for the first record after a start.
void LookAtRules(Installation& installation, StatusFacts& facts) {
  RuleBook book({.fileSystem = installation.FileSystem(),
                 .ini = installation.Ini(),
                 .clock = installation.Machine().clock,
                 .watcher = installation.Machine().folderWatcher},
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
  ServiceMail mail(installation);
  for (const FileProblem& each : mail.Store().Problems()) facts.problems.push_back(each.Sentence());
  facts.eventEmails = IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings());
  facts.copies = mail.Module().AlertCopies();
  facts.route = mail.Module().RouteOfMails();
  if (!facts.eventEmails) return;
  if (!facts.route.usable) facts.problems.push_back(facts.route.problem);
  if (facts.copies.empty()) facts.problems.emplace_back(u"Alerts are to be mailed, but nobody is named who gets them");
}

void LookAtLogs(Installation& installation, StatusFacts& facts) {
  os::Files& files = installation.FileSystem().Files();
  for (const Text& path : {installation.Settings().eventLogPath, installation.Settings().eventLogRuleNamesPath}) {
    os::FileInfo info;
    const bool exists = files.Info(path, info).Ok();
    facts.logs.push_back({path, exists ? std::optional(info.size) : std::nullopt});
  }
  facts.lastAlerts = LastLines(files, installation.Settings().eventLogRuleNamesPath, kAlertsShown);
  facts.debugFolder =
      installation.Environment().DataFolder() + Text(kDebugLogsFolder) + u"\\" + installation.Environment().ProgramName();
  std::vector<os::DirEntry> entries;
  files.List(facts.debugFolder, entries).Ignore();
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
