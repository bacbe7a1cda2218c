#include "monitor/RuleBook.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "monitor/Rule.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"
#include "platform/FileContent.h"

// Why an edit counts from the next record on: a watch is made before the files are looked at, so whatever happens after the
// look is news, and whatever was complete before it is seen by the look itself. A look finds every file whose identity, size
// or times are others than before, and reads a file again that is so young that its times could not tell (FolderLook). Lists
// are forgotten whenever anything in their folder changed. Without news the window bounds how late the look comes.

namespace ovs {

namespace {

bool IsRuleFile(TextView name) { return MatchesMask(name, u"*.DAT"); }

bool IsRulesEntry(TextView name) { return IsRuleFile(name) || GlobalExclusions::IsListName(name); }

bool IsSettingsFile(TextView name) { return MatchesMask(name, u"Orvanta.ini"); }

}  // namespace

RuleBook::RuleBook(const RuleBookParts& parts, const MonitorSettings& settings)
    : parts_(parts),
      settings_(settings),
      exclusions_(parts.fileSystem, problems_, settings.rulesFolder),
      rulesFolder_(parts.fileSystem.Files(), parts.clock, settings.rulesFolder, IsRulesEntry),
      configFolder_(parts.fileSystem.Files(), parts.clock, App_FilePath::ParentOf(settings.configIniPath), IsSettingsFile),
      index_(IndexOf({})) {}

RuleTiming::News RuleBook::News() const {
  if (!watch_) return RuleTiming::News::None;
  return parts_.watcher.IsExact() ? RuleTiming::News::Exact : RuleTiming::News::Slow;
}

void RuleBook::Refresh() {
  const std::uint64_t now = parts_.clock.Milliseconds();
  const RuleTiming::Step step = timing_.Next(now, News());
  const bool hasNews = step == RuleTiming::Step::AskForNews && watch_->Take() != os::FolderNews::None;
  if (step == RuleTiming::Step::LookAtAll || hasNews) LookAtAll();
  if (timing_.RetryIsDue(now, mustRead_)) RetryRefused();
}

void RuleBook::LookAtAll() {
  Proc proc(u"RuleBook", u"LookAtAll", ProcKind::Sub);
  const std::uint64_t start = parts_.clock.Milliseconds();
  bool finished = false;
  bool complete = false;
  proc.Run([&] {
    // A new watch each time: the old one may watch a folder that was moved away since, together with the one above it.
    const Text folders[] = {rulesFolder_.Folder(), configFolder_.Folder()};
    watch_ = parts_.watcher.Watch(folders);
    const bool hasSettings = LookAtSettings();
    const bool hasRules = LookAtRules();
    complete = hasSettings && hasRules;
    finished = true;
  });
  if (!finished) ForgetLooks();
  timing_.Looked(start, parts_.clock.Milliseconds(), complete);
}

// For when the folders were seen, but what is in them was not taken over.
void RuleBook::ForgetLooks() {
  rulesFolder_.Forget();
  configFolder_.Forget();
}

// False when the system refused, as for the next function.
bool RuleBook::LookAtSettings() {
  bool changed = false;
  const os::Error error = configFolder_.Look(changed);
  if (error.Ok() && !changed) return true;
  const IniLoad load = parts_.ini.LoadIniOrLast(settings_.configIniPath, mainSettings_);
  // A file that was there when the folder was looked at and is not now may be back as it was.
  const bool isRead = load != IniLoad::Refused && (load != IniLoad::Missing || configFolder_.Entries().empty());
  // The next look has to find the file new, though it may not have changed by then.
  if (!isRead) configFolder_.Forget();
  return error.Ok() && isRead;
}

bool RuleBook::LookAtRules() {
  bool changed = false;
  if (const os::Error error = rulesFolder_.Look(changed); error.Failed()) {
    problems_.Report(FileKind::RulesFolder, settings_.rulesFolder, DescribeReadOutcome({ReadOutcome::Failed, error}));
    return false;
  }
  if (rulesFolder_.FolderExists()) {
    problems_.Usable(settings_.rulesFolder);
  } else {
    problems_.Report(FileKind::RulesFolder, settings_.rulesFolder, u"Path does not exist!");
  }
  if (changed) {
    exclusions_.LookAgain();
    ReadChangedRules();
  }
  return true;
}

void RuleBook::ReadChangedRules() {
  std::unordered_map<TextView, Known*> before;
  for (Known& known : rules_) before.emplace(TextView(known.rule.path).substr(settings_.rulesFolder.size() + 1), &known);
  std::vector<Known> now;
  bool changed = mustBuild_;
  bool mustRead = false;
  for (const FolderLook::Entry& entry : rulesFolder_.Entries()) {
    if (!IsRuleFile(entry.name)) continue;
    const auto found = before.extract(entry.name);
    const bool isKnown = !found.empty();
    Known known = isKnown ? *found.mapped() : Known{{settings_.rulesFolder + u"\\" + entry.name, {}}, {}};
    if (entry.isNew || known.mustRead) changed = Load(known) || changed;
    changed = changed || !isKnown || now.size() >= rules_.size() || rules_[now.size()].rule.path != known.rule.path;
    mustRead = mustRead || known.mustRead;
    now.push_back(std::move(known));
  }
  changed = changed || now.size() != rules_.size();
  for (const auto& [name, known] : before) {
    problems_.Gone(known->rule.path);
    parts_.ini.Gone(known->rule.path);
  }
  // Both change or none does: the index knows the rules by their numbers.
  if (changed) index_ = IndexOf(now);
  rules_ = std::move(now);
  mustRead_ = mustRead;
  mustBuild_ = false;
}

// Reads the file; true when the rule means something else than before. A file that cannot be used matches nothing; one that
// has just gone may be back as it was.
bool RuleBook::Load(Known& known) {
  const IniLoad outcome = LoadRuleFile(parts_.ini, problems_, known.rule.path, known.rule.content);
  known.mustRead = outcome == IniLoad::Refused || outcome == IniLoad::Missing;
  if (outcome == IniLoad::Refused) return false;
  known.rule.usable = outcome == IniLoad::Ok;
  RuleConditions conditions = outcome == IniLoad::Ok ? ConditionsOf(known.rule.content) : RuleConditions();
  const bool changed = conditions != known.conditions;
  known.conditions = std::move(conditions);
  return changed;
}

void RuleBook::RetryRefused() {
  Proc proc(u"RuleBook", u"RetryRefused", ProcKind::Sub);
  const std::uint64_t start = parts_.clock.Milliseconds();
  bool finished = false;
  proc.Run([&] {
    bool mustRead = false;
    for (Known& known : rules_) {
      if (known.mustRead) mustBuild_ = Load(known) || mustBuild_;
      mustRead = mustRead || known.mustRead;
    }
    if (mustBuild_) index_ = IndexOf(rules_);
    mustBuild_ = false;
    mustRead_ = mustRead;
    finished = true;
  });
  timing_.Retried(start, parts_.clock.Milliseconds());
  if (finished) return;
  ForgetLooks();
  timing_.LookAgain();
}

RecordHints RuleBook::Find(const EventRecord& record, RuleIndex::Scratch& scratch) const {
  index_.Find(record, scratch);
  return {.mayBeStopPhrase = RuleIndex::Phrase(scratch, kStopPhrase),
          .mayBeOwnCrash = RuleIndex::Phrase(scratch, kOwnCrashPhrase),
          .mayBeDiskEvent = RuleIndex::Phrase(scratch, kFakeDiskPhrase) || IsDiskSource(record.sourceName)};
}

bool RuleBook::DiskEventsOn() const { return IsOn(MonitorSwitch::DiskEvents, parts_.ini, settings_, mainSettings_); }

std::vector<FileProblem> RuleBook::Problems() const {
  std::vector<FileProblem> all = problems_.Current();
  for (FileProblem& problem : parts_.ini.Problems().Current()) {
    const bool isRule = std::ranges::any_of(rules_, [&](const Known& known) { return known.rule.path == problem.path; });
    if (isRule) problem.kind = FileKind::RuleFile;
    if (isRule || problem.path == settings_.configIniPath) all.push_back(std::move(problem));
  }
  return all;
}

std::size_t RuleBook::MemoryInUse() const {
  std::size_t bytes = index_.MemoryInUse() + rules_.capacity() * sizeof(Known);
  for (const Known& known : rules_) bytes += known.rule.content.MemoryInUse() + known.conditions.MemoryInUse();
  return bytes;
}

RuleIndex RuleBook::IndexOf(const std::vector<Known>& rules) {
  static constexpr std::array<TextView, 3> kPhrases = {Phrases::kStop, Phrases::kOwnCrash, Phrases::kFakeDisk};
  std::vector<RuleConditions> conditions;
  conditions.reserve(rules.size());
  for (const Known& known : rules) conditions.push_back(known.conditions);
  return RuleIndex(std::move(conditions), kPhrases);
}

}  // namespace ovs
