#include "monitor/modFilterEvents.h"

#include "base/App_Strings.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "events/RecordTime.h"
#include "monitor/AlertText.h"
#include "monitor/DiskEvent.h"
#include "monitor/Phrases.h"
#include "monitor/Rule.h"
#include "monitor/RuleFile.h"
#include "platform/FS_DirList.h"

namespace ovs {

modFilterEvents::modFilterEvents(const FilterParts& parts, const MonitorSettings& settings)
    : parts_(parts),
      settings_(settings),
      exclusions_(parts.fileSystem, problems_, settings.rulesFolder),
      book_({parts.fileSystem.Files(), parts.watcher, parts.clock, parts.ini, problems_, exclusions_}, settings),
      action_(parts.ini, parts.mailer, settings.configIniPath) {}

void modFilterEvents::FindEvents(const EventRecord& record) {
  Proc proc(u"modFilterEvents", u"FindEvents", ProcKind::Sub);
  proc.ByVal(u"iEventType", record.eventType);
  proc.ByVal(u"sType", record.type);
  proc.ByVal(u"sEventCode", record.eventCode);
  proc.ByVal(u"sSourceName", record.sourceName);
  proc.ByVal(u"sMessage", record.message);
  proc.ByVal(u"sLogfile", record.logfile);
  proc.ByVal(u"sTimeGenerated", record.timeGenerated);
  proc.Run([&] {
    const DebugSwitches& switches = Diagnostics().Switches();
    if (switches.verbose || switches.procDump) {
      FindEventsTraced(record);
    } else {
      FindEventsQuickly(record);
    }
  });
}

void modFilterEvents::FindEventsTraced(const EventRecord& record) {
  exclusions_.Forget();
  if (Phrases::HasStopPhrase(record.message)) {
    ++stopPhrases_;
    return;
  }
  if (Phrases::IsOwnCrash(record)) return;
  const bool diskCheck = parts_.ini.ReadINI(settings_.configIniPath, u"Monitoring", u"DiskEvents") == u"1";
  if (diskCheck && FindDiskEvents(record)) return;
  CheckRules(record);
}

void modFilterEvents::FindEventsQuickly(const EventRecord& record) {
  book_.Refresh();
  book_.Find(record, scratch_);
  if (RuleIndex::Phrase(scratch_, RuleBook::kStopPhrase)) {
    ++stopPhrases_;
    return;
  }
  if (RuleIndex::Phrase(scratch_, RuleBook::kOwnCrashPhrase) && Phrases::IsOwnCrash(record)) return;
  const bool mayBeDiskEvent = RuleIndex::Phrase(scratch_, RuleBook::kFakeDiskPhrase) || IsDiskSource(record.sourceName);
  if (book_.DiskEventsOn() && mayBeDiskEvent && FindDiskEvents(record)) return;
  for (const std::uint32_t number : scratch_.rules) {
    const RuleBook::Rule& rule = book_.RuleAt(number);
    Check(rule.path, &rule.content, record);
  }
}

void modFilterEvents::CheckRules(const EventRecord& record) {
  FS_DirList search(parts_.fileSystem.Files());
  search.IncludeDirs = true;
  search.RecursionLevel = 0;
  search.AddSearchPath(settings_.rulesFolder);
  search.AddFileMask(u"*.DAT");
  search.StartSearch();
  for (const Text& folder : search.MatchingDirsOnDisk()) {
    if (App_Strings::StringEndsWith(folder, u".DAT")) problems_.Report(FileKind::RuleFile, folder, u"it is a folder");
  }
  for (const Text& path : search.MatchingFilesOnDisk()) {
    if (!App_Strings::TrimBlanks(path).empty()) CheckRule(path, record);
  }
}

void modFilterEvents::CheckRule(TextView ruleFile, const EventRecord& record) { Check(ruleFile, nullptr, record); }

// Without `content` the file is read.
void modFilterEvents::Check(TextView ruleFile, const PlainIni* content, const EventRecord& record) {
  Proc proc(u"modFilterEvents", u"CheckRule", ProcKind::Sub);
  proc.ByVal(u"sRuleFile", ruleFile);
  proc.ByVal(u"sEventCode", record.eventCode);
  proc.ByVal(u"sSourceName", record.sourceName);
  proc.ByVal(u"sLogfile", record.logfile);
  proc.Run([&] {
    PlainIni own;
    if (content == nullptr && LoadRuleFile(parts_.ini, problems_, ruleFile, own) != IniLoad::Ok) return;
    RuleFileReader reader(parts_.ini, ruleFile, content == nullptr ? own : *content);
    if (!RuleMatches(reader, record)) return;
    const Text ruleName = RuleName(ruleFile);
    if (IsHidden(ruleName, record, false)) return;
    const Text timeText = RecordTimeText(parts_.time, record.timeGenerated, settings_.display);
    action_.DoAction(AlertText::RuleAlert(timeText, ruleName, record), false);
    parts_.log.Write({record, ruleName, timeText, AlertText::RuleLogEntry(timeText, ruleName, record), false});
  });
}

bool modFilterEvents::IsHidden(TextView ruleName, const EventRecord& record, bool isDiskAlert) {
  const auto list = exclusions_.ExcludedBy(record.eventCode, record.sourceName, record.message);
  if (list) parts_.log.Hidden({record, ruleName, *list, isDiskAlert});
  return list.has_value();
}

std::vector<Text> modFilterEvents::RuleNames() {
  book_.Refresh();
  std::vector<Text> names;
  names.reserve(book_.RuleCount());
  for (std::uint32_t i = 0; i < book_.RuleCount(); ++i) names.push_back(RuleName(book_.RuleAt(i).path));
  return names;
}

bool modFilterEvents::DiskEventsOn() {
  book_.Refresh();
  return book_.DiskEventsOn();
}

bool modFilterEvents::FindDiskEvents(const EventRecord& record) {
  Proc proc(u"modFilterEvents", u"FindDiskEvents", ProcKind::Function);
  proc.ByVal(u"sType", record.type);
  proc.ByVal(u"sEventCode", record.eventCode);
  proc.ByVal(u"sSourceName", record.sourceName);
  proc.ByVal(u"sMessage", record.message);
  proc.ByVal(u"sLogfile", record.logfile);
  proc.ByVal(u"sTimeGenerated", record.timeGenerated);
  bool isDiskEvent = false;
  proc.Run([&] {
    isDiskEvent = IsDiskEvent(record.sourceName, record.message);
    const Text& ruleName = settings_.diskEventsRuleName;
    if (!isDiskEvent || IsHidden(ruleName, record, true)) return;
    const Text timeText = RecordTimeText(parts_.time, record.timeGenerated, settings_.display);
    action_.DoAction(AlertText::DiskAlert(timeText, ruleName, record), true);
    parts_.log.Write({record, ruleName, timeText, AlertText::DiskLogEntry(timeText, ruleName, record), true});
  });
  proc.Result(isDiskEvent);
  return isDiskEvent;
}

}  // namespace ovs
