// The rule engine: decides for every record whether it raises alerts, and raises them.
#pragma once

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/FileProblems.h"
#include "events/EventRecord.h"
#include "mail/message/AlertMailer.h"
#include "monitor/AlertAction.h"
#include "monitor/AlertLog.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/MonitorSettings.h"
#include "monitor/RuleBook.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Time.h"

namespace ovs {

// What the rule engine works with; all must outlive it.
struct FilterParts {
  App_FileSystem& fileSystem;
  App_Common& ini;
  App_Time& time;
  AlertMailer& mailer;
  AlertLog& log;
  os::Clock& clock;
  os::FolderWatcher& watcher;
};

class modFilterEvents {
 public:
  modFilterEvents(const FilterParts& parts, const MonitorSettings& settings);

  // Handles one record: the stop phrase, this service's own crash, the disk check, then every rule file. Rule files,
  // lists and switches count as they are on disk at this moment (see RuleBook.h for how exactly). Errors are reported and
  // end only what they hit. While the diagnostics want to see everything (procedure dump, verbose log) each file is read
  // and each rule tested for every record; otherwise only rules that may match are.
  void FindEvents(const EventRecord& record);

  // Tests one rule file, given by its path as it is spelled on disk, and on a match alerts and logs.
  void CheckRule(TextView ruleFile, const EventRecord& record);

  // True when the record is a disk event, whether or not an exclusion then suppressed its alert.
  bool FindDiskEvents(const EventRecord& record);

  // True once a record carried the stop phrase.
  [[nodiscard]] bool StopPhraseSeen() const { return stopPhrases_ != 0; }
  // How many records carried it.
  [[nodiscard]] std::uint64_t StopPhrases() const { return stopPhrases_; }

  // As the files are at this moment: the names of all rules, also of those that cannot be used, in the order of their
  // test; and whether the disk check is on.
  [[nodiscard]] std::vector<Text> RuleNames();
  [[nodiscard]] bool DiskEventsOn();

 private:
  void FindEventsTraced(const EventRecord& record);
  void FindEventsQuickly(const EventRecord& record);
  void CheckRules(const EventRecord& record);
  void Check(TextView ruleFile, const PlainIni* content, const EventRecord& record);
  [[nodiscard]] bool IsHidden(TextView ruleName, const EventRecord& record, bool isDiskAlert);

  FilterParts parts_;
  MonitorSettings settings_;
  FileProblems problems_;
  GlobalExclusions exclusions_;
  RuleBook book_;
  RuleIndex::Scratch scratch_;
  AlertAction action_;
  std::uint64_t stopPhrases_ = 0;
};

}  // namespace ovs
