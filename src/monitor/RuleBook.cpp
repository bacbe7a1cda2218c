#include "monitor/RuleBook.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "monitor/Phrases.h"
#include "monitor/RuleFile.h"
#include "os/PendingError.h"
#include "platform/FileContent.h"
#include "platform/FileMask.h"

namespace ovs {

namespace {

constexpr std::uint64_t kShortestWindow = 50;
constexpr std::uint64_t kWindowPerCost = 10;

bool IsRuleFile(TextView name) { return MatchesMask(name, u"*.DAT"); }

bool IsRulesEntry(TextView name) { return IsRuleFile(name) || GlobalExclusions::IsListName(name); }

bool IsSettingsFile(TextView name) { return MatchesMask(name, u"Orvanta.ini"); }

Text FolderOf(TextView path) { return Text(path.substr(0, path.rfind(u'\\'))); }

}  // namespace

RuleBook::RuleBook(const RuleBookParts& parts, const MonitorSettings& settings)
    : parts_(parts),
      settings_(settings),
      rulesFolder_(parts.files, parts.clock, settings.rulesFolder, IsRulesEntry),
      configFolder_(parts.files, parts.clock, FolderOf(settings.configIniPath), IsSettingsFile),
      index_(IndexOf({})) {}

// What fails is tried again at once a few times, for it may be a moment's trouble, and then once a window: what lasts, such
// as a share that is away, must not cost every record its time.
void RuleBook::Refresh() {
  constexpr int kTriesAtOnce = 3;
  const std::uint64_t now = parts_.clock.Milliseconds();
  if ((mustLook_ && failedLooks_ < kTriesAtOnce) || now - lastLook_ >= window_) {
    LookAtAll();
    failedLooks_ = mustLook_ ? failedLooks_ + 1 : 0;
  } else if (watch_ && (parts_.watcher.IsExact() || now != lastAsked_)) {
    lastAsked_ = now;
    if (watch_->Take() != os::FolderNews::None) LookAtAll();
  }
  if (!anyRefused_) {
    failedRetries_ = 0;
  } else if (failedRetries_ < kTriesAtOnce || now - lastRetry_ >= window_) {
    lastRetry_ = now;
    ++failedRetries_;
    RetryRefused();
  }
}

void RuleBook::LookAtAll() {
  Proc proc(u"RuleBook", u"LookAtAll", ProcKind::Sub);
  const std::uint64_t start = parts_.clock.Milliseconds();
  bool complete = false;
  mustLook_ = false;
  proc.Run([&] {
    // Whatever happens from here on is news. A new watch each time: the old one may watch a folder that was moved away
    // since, together with the one above it.
    const Text folders[] = {rulesFolder_.Folder(), configFolder_.Folder()};
    watch_ = parts_.watcher.Watch(folders);
    LookAtSettings();
    LookAtRules();
    complete = true;
  });
  if (!complete) LookAtAllAnew();
  lastLook_ = parts_.clock.Milliseconds();
  window_ = std::max(kShortestWindow, (lastLook_ - start) * kWindowPerCost);
}

// What was seen has not been taken over.
void RuleBook::LookAtAllAnew() {
  rulesFolder_.Forget();
  configFolder_.Forget();
  mustLook_ = true;
}

void RuleBook::LookAtSettings() {
  const FolderLook::Outcome outcome = configFolder_.Look();
  if (outcome == FolderLook::Outcome::Same) return;
  if (outcome == FolderLook::Outcome::Failed) {
    mustLook_ = true;
    TakePendingSystemError();
  }
  PlainIni content;
  if (parts_.ini.LoadIni(settings_.configIniPath, content) == IniLoad::Refused) mustLook_ = true;
  diskEventsOn_ = parts_.ini.ReadINI(content, settings_.configIniPath, u"Monitoring", u"DiskEvents") == u"1";
}

void RuleBook::LookAtRules() {
  switch (rulesFolder_.Look()) {
    case FolderLook::Outcome::Same:
      return;
    case FolderLook::Outcome::Changed:
      parts_.problems.Clear(settings_.rulesFolder);
      parts_.exclusions.Forget();
      TakeRules();
      return;
    case FolderLook::Outcome::Failed:
      // The rules that are known go on serving.
      mustLook_ = true;
      parts_.problems.Report(FileKind::RulesFolder, settings_.rulesFolder,
                             DescribeReadOutcome(ReadOutcome::Failed, TakePendingSystemError()));
      return;
  }
}

void RuleBook::TakeRules() {
  std::unordered_map<TextView, Known*> before;
  for (Known& known : rules_) before.emplace(TextView(known.rule.path).substr(settings_.rulesFolder.size() + 1), &known);
  std::vector<Known> now;
  bool changed = mustBuild_;
  bool anyRefused = false;
  for (const FolderLook::Entry& entry : rulesFolder_.Entries()) {
    if (!IsRuleFile(entry.name)) continue;
    const auto found = before.find(entry.name);
    const bool isKnown = found != before.end();
    Known known = isKnown ? *found->second : Known{{settings_.rulesFolder + u"\\" + entry.name, {}, true}, {}, false};
    if (entry.isNew || known.refused) changed = Load(known) || changed;
    changed = changed || !isKnown || now.size() >= rules_.size() || rules_[now.size()].rule.path != known.rule.path;
    anyRefused = anyRefused || known.refused;
    now.push_back(std::move(known));
  }
  changed = changed || now.size() != rules_.size();
  // Both change or none does: the index knows the rules by their numbers.
  if (changed) index_ = IndexOf(now);
  rules_ = std::move(now);
  anyRefused_ = anyRefused;
  mustBuild_ = false;
}

// Reads the file; true when the rule means something else than before. What cannot be used matches nothing.
bool RuleBook::Load(Known& known) {
  const IniLoad outcome = LoadRuleFile(parts_.ini, parts_.problems, known.rule.path, known.rule.content);
  known.refused = outcome == IniLoad::Refused;
  known.rule.usable = outcome == IniLoad::Ok;
  RuleConditions conditions = outcome == IniLoad::Ok ? ConditionsOf(known.rule.content) : RuleConditions();
  const bool changed = conditions != known.conditions;
  known.conditions = std::move(conditions);
  return changed;
}

void RuleBook::RetryRefused() {
  Proc proc(u"RuleBook", u"RetryRefused", ProcKind::Sub);
  bool complete = false;
  proc.Run([&] {
    bool anyRefused = false;
    for (Known& known : rules_) {
      if (known.refused) mustBuild_ = Load(known) || mustBuild_;
      anyRefused = anyRefused || known.refused;
    }
    if (mustBuild_) index_ = IndexOf(rules_);
    mustBuild_ = false;
    anyRefused_ = anyRefused;
    complete = true;
  });
  if (!complete) LookAtAllAnew();
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
