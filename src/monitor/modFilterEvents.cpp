#include "monitor/modFilterEvents.h"

#include <numeric>

#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "monitor/RecordKind.h"
#include "monitor/Rule.h"

namespace ovs {

namespace {

bool DiagnosticsWantEverything() {
  const DebugSwitches& switches = Diagnostics().Switches();
  return switches.verbose || switches.procDump;
}

}  // namespace

modFilterEvents::modFilterEvents(const FilterParts& parts, const MonitorSettings& settings)
    : parts_(parts),
      settings_(settings),
      book_({.fileSystem = parts.fileSystem, .ini = parts.ini, .clock = parts.clock, .watcher = parts.watcher}, settings) {}

void modFilterEvents::FindEvents(const EventRecord& record) {
  Proc proc(u"modFilterEvents", u"FindEvents", ProcKind::Sub);
  proc.ByVal(u"iEventType", record.eventType);
  proc.ByVal(u"sType", record.type);
  proc.ByVal(u"sEventCode", record.eventCode);
  proc.ByVal(u"sSourceName", record.sourceName);
  proc.ByVal(u"sMessage", record.message);
  proc.ByVal(u"sLogfile", record.logfile);
  proc.ByVal(u"sTimeGenerated", record.timeGenerated);
  proc.Run([&] { Decide(record); });
}

void modFilterEvents::Decide(const EventRecord& record) {
  book_.Refresh();
  RecordHints hints = book_.Find(record, scratch_);
  if (DiagnosticsWantEverything()) {
    hints = {};
    scratch_.rules.resize(book_.RuleCount());
    std::iota(scratch_.rules.begin(), scratch_.rules.end(), 0u);
  }
  switch (KindOf(record, hints, [&] { return book_.DiskEventsOn() && FindDiskEvents(record); })) {
    case RecordKind::StopPhrase:
      ++stopPhrases_;
      return;
    case RecordKind::OwnCrash:
    case RecordKind::DiskEvent:
      return;
    case RecordKind::Ordinary:
      for (const std::uint32_t number : scratch_.rules) CheckRule(book_.RuleAt(number), record);
      return;
  }
}

void modFilterEvents::CheckRule(const RuleBook::Rule& rule, const EventRecord& record) {
  Proc proc(u"modFilterEvents", u"CheckRule", ProcKind::Sub);
  proc.ByVal(u"sRuleFile", rule.path);
  proc.ByVal(u"sEventCode", record.eventCode);
  proc.ByVal(u"sSourceName", record.sourceName);
  proc.ByVal(u"sLogfile", record.logfile);
  proc.Run([&] {
    if (!rule.usable) return;
    RuleFileReader reader(parts_.ini, rule.path, rule.content);
    if (RuleMatches(reader, record)) Raise(AlertKind::Rule, RuleName(rule.path), record);
  });
}

// True when the record is a disk event, whether or not an exclusion then hid its alert.
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
    isDiskEvent = IsDiskEvent(CheckForDiskEvent(record.sourceName, record.message));
    if (isDiskEvent) Raise(AlertKind::Disk, settings_.diskEventsRuleName, record);
  });
  proc.Result(isDiskEvent);
  return isDiskEvent;
}

// Unless an exclusion list hides it.
void modFilterEvents::Raise(AlertKind kind, TextView ruleName, const EventRecord& record) {
  if (const auto list = book_.Exclusions().ExcludedBy(record.eventCode, record.sourceName, record.message)) {
    parts_.alerts.OnHidden({.kind = kind, .ruleName = ruleName, .record = record, .list = *list});
  } else {
    parts_.alerts.OnAlert({.kind = kind,
                           .ruleName = Text(ruleName),
                           .record = record,
                           .timeText = RecordTimeText(parts_.time, record.timeGenerated, settings_.display)});
  }
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

std::vector<FileProblem> modFilterEvents::Problems() {
  book_.Refresh();
  return book_.Problems();
}

}  // namespace ovs
