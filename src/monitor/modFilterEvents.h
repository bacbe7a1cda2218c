// The rule engine: decides for every record whether it raises alerts, and raises them.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "events/EventRecord.h"
#include "monitor/Alert.h"
#include "monitor/MonitorSettings.h"
#include "monitor/RuleBook.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Time.h"

namespace ovs {

// The rule engine works with these; all must outlive it.
struct FilterParts {
  App_FileSystem& fileSystem;
  App_Common& ini;
  App_Time& time;
  os::Clock& clock;
  os::FolderWatcher& watcher;
  AlertSink& alerts;
};

// Belongs to one thread, in which it also calls the sink.
class modFilterEvents {
 public:
  modFilterEvents(const FilterParts& parts, const MonitorSettings& settings);

  // Handles one record in the order of RecordKind, an ordinary one by every rule. Rule files, lists and switches count as
  // they are on disk at this moment (see RuleBook.h for how exactly). Errors are reported and end only what they hit. While
  // the diagnostics want to see everything (procedure dump, verbose log) each question is asked and each rule tested for
  // every record; otherwise only those are whose answer is open. The outcome is the same.
  void FindEvents(const EventRecord& record);

  // True once a record carried the stop phrase.
  [[nodiscard]] bool StopPhraseSeen() const { return stopPhrases_ != 0; }
  // How many records carried it.
  [[nodiscard]] std::uint64_t StopPhrases() const { return stopPhrases_; }

  // As the files are at this moment: the names of all rules, also of those that cannot be used, in the order of their test;
  // whether the disk check is on; and the files that cannot be used.
  [[nodiscard]] std::vector<Text> RuleNames();
  [[nodiscard]] bool DiskEventsOn();
  [[nodiscard]] std::vector<FileProblem> Problems();

 private:
  void Decide(const EventRecord& record);
  void CheckRule(const RuleBook::Rule& rule, const EventRecord& record);
  [[nodiscard]] bool FindDiskEvents(const EventRecord& record);
  void Raise(AlertKind kind, TextView ruleName, const EventRecord& record);

  FilterParts parts_;
  MonitorSettings settings_;
  RuleBook book_;
  RuleIndex::Scratch scratch_;
  std::uint64_t stopPhrases_ = 0;
};

}  // namespace ovs
