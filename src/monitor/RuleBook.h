// The rule files, exclusion lists and the disk check's switch as they are on disk, kept in memory and read again when they
// change.
//
// What the user sees is as if all of it were read for every record. Refresh, called before each record, proves the memory
// fresh: by news from the folders, and by looking at every file when the last such look is older than the freshness window
// (50 ms, or ten times what a look costs). Where news are exact a change that was complete before Refresh always counts;
// elsewhere it does so after the window at the latest, and always after a pause longer than it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/FileProblems.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/MonitorSettings.h"
#include "monitor/RuleIndex.h"
#include "os/Clock.h"
#include "os/FolderWatch.h"
#include "platform/FolderLook.h"

namespace ovs {

// What a rule book works with; all must outlive it.
struct RuleBookParts {
  os::Files& files;
  os::FolderWatcher& watcher;
  os::Clock& clock;
  App_Common& ini;
  FileProblems& problems;
  GlobalExclusions& exclusions;
};

class RuleBook {
 public:
  struct Rule {
    Text path;  // as it is spelled on disk
    PlainIni content;
    bool usable = true;  // false: the file was reported and matches nothing
  };
  // Numbers of the phrases that the index looks for in every message.
  enum Phrase : std::uint32_t { kStopPhrase, kOwnCrashPhrase, kFakeDiskPhrase };

  RuleBook(const RuleBookParts& parts, const MonitorSettings& settings);

  void Refresh();

  // Candidates among the rules for a record, see RuleIndex.
  void Find(const EventRecord& record, RuleIndex::Scratch& scratch) const { index_.Find(record, scratch); }
  // By a number that Find gave, or by the place in the order of the folder; the reference is good until the next Refresh.
  [[nodiscard]] const Rule& RuleAt(std::uint32_t number) const { return rules_[number].rule; }
  [[nodiscard]] std::size_t RuleCount() const { return rules_.size(); }
  [[nodiscard]] bool DiskEventsOn() const { return diskEventsOn_; }
  // Heap memory of rules and index in bytes, roughly.
  [[nodiscard]] std::size_t MemoryInUse() const;

 private:
  struct Known {
    Rule rule;
    RuleConditions conditions;
    bool refused = false;  // the system would not let it be read; tried again
  };

  void LookAtAll();
  void LookAtAllAnew();
  void LookAtRules();
  void LookAtSettings();
  void TakeRules();
  [[nodiscard]] bool Load(Known& known);
  void RetryRefused();
  [[nodiscard]] static RuleIndex IndexOf(const std::vector<Known>& rules);

  RuleBookParts parts_;
  MonitorSettings settings_;
  std::unique_ptr<os::FolderWatch> watch_;  // of both folders; null where the system sends no news
  FolderLook rulesFolder_;
  FolderLook configFolder_;
  std::vector<Known> rules_;  // in the order of the folder
  RuleIndex index_;
  bool diskEventsOn_ = false;
  bool mustLook_ = true;
  bool mustBuild_ = false;  // a rule has changed and the index does not know
  bool anyRefused_ = false;
  std::uint64_t lastLook_ = 0;  // when all was looked at, and when news were asked for; milliseconds of the clock
  std::uint64_t lastAsked_ = 0;
  std::uint64_t window_ = 0;
  int failedLooks_ = 0;  // in a row
  int failedRetries_ = 0;
  std::uint64_t lastRetry_ = 0;  // of refused files
};

}  // namespace ovs
