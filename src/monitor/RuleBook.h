// The rule files, exclusion lists and the disk check's switch as they are on disk, kept in memory and read again when they
// change.
//
// The user sees it as if all of it were read for every record. Refresh, called before each record, proves the memory fresh:
// by news from the folders, and by looking at every file when the last such look is older than the freshness window (see
// RuleTiming.h). Where news are exact an edit that was complete before Refresh always counts; elsewhere it does so a second
// later at the latest.
#pragma once

#include <memory>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/FileProblems.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/MonitorSettings.h"
#include "monitor/RecordKind.h"
#include "monitor/RuleIndex.h"
#include "monitor/RuleTiming.h"
#include "os/Clock.h"
#include "os/FolderWatch.h"
#include "platform/App_FileSystem.h"
#include "platform/FolderLook.h"

namespace ovs {

// A rule book works with these; all must outlive it.
struct RuleBookParts {
  App_FileSystem& fileSystem;
  App_Common& ini;
  os::Clock& clock;
  os::FolderWatcher& watcher;
};

// Belongs to one thread.
class RuleBook {
 public:
  struct Rule {
    Text path;  // as it is spelled on disk
    PlainIni content;
    bool usable = false;  // false: the file was reported and matches nothing
  };

  RuleBook(const RuleBookParts& parts, const MonitorSettings& settings);

  // Errors are reported. A failed read is no edit: what the system refuses to show or to read goes on serving as it was read
  // last, and is tried again. A file that is gone is gone, and an empty file is empty.
  void Refresh();

  // Fills scratch.rules with the numbers of the rules that may match (see RuleIndex) and tells which kinds the record may be
  // of.
  RecordHints Find(const EventRecord& record, RuleIndex::Scratch& scratch) const;
  // By a number that Find gave, or by the place in the order of the folder; the reference is good until the next Refresh.
  [[nodiscard]] const Rule& RuleAt(std::uint32_t number) const { return rules_[number].rule; }
  [[nodiscard]] std::uint32_t RuleCount() const { return static_cast<std::uint32_t>(rules_.size()); }
  [[nodiscard]] bool DiskEventsOn() const;
  [[nodiscard]] GlobalExclusions& Exclusions() { return exclusions_; }
  // The files among these that cannot be used at present, and the rules folder when it cannot be listed.
  [[nodiscard]] std::vector<FileProblem> Problems() const;
  // Heap memory of rules and index in bytes, roughly.
  [[nodiscard]] std::size_t MemoryInUse() const;

 private:
  // Numbers of the phrases that the index looks for in every message.
  enum Phrase : std::uint32_t { kStopPhrase, kOwnCrashPhrase, kFakeDiskPhrase };

  struct Known {
    Rule rule;
    RuleConditions conditions;
    bool mustRead = false;  // the file is there, but the last try to read it failed; the rule is what was read before
  };

  [[nodiscard]] RuleTiming::News News() const;
  void LookAtAll();
  [[nodiscard]] bool LookAtRules();
  [[nodiscard]] bool LookAtSettings();
  void ForgetLooks();
  void ReadChangedRules();
  [[nodiscard]] bool Load(Known& known);
  void RetryRefused();
  [[nodiscard]] static RuleIndex IndexOf(const std::vector<Known>& rules);

  RuleBookParts parts_;
  MonitorSettings settings_;
  FileProblems problems_;
  GlobalExclusions exclusions_;
  RuleTiming timing_;
  std::unique_ptr<os::FolderWatch> watch_;  // of both folders; null where the system sends no news
  FolderLook rulesFolder_;
  FolderLook configFolder_;
  PlainIni mainSettings_;
  std::vector<Known> rules_;  // in the order of the folder
  RuleIndex index_;
  bool mustBuild_ = false;  // a rule has changed and the index does not know
  bool mustRead_ = false;   // some rule is to be read again
};

}  // namespace ovs
