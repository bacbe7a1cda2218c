#include "monitor/RuleIndex.h"

#include <algorithm>
#include <bit>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

constexpr std::uint32_t kTypes = std::size(kRuleTypeNames);
// Messages of records without a cell are searched for the phrases too.
constexpr std::uint32_t kNoCell = 30;
constexpr std::uint32_t kEverywhere = 0xFFFF'FFFF;

std::uint32_t HashOf(TextView text) {
  const std::uint64_t hash = HashFolded(App_Strings::TrimBlanks(text));
  return static_cast<std::uint32_t>((hash * 0x9E37'79B9'7F4A'7C15) >> 32);
}

}  // namespace

std::size_t RuleConditions::MemoryInUse() const {
  std::size_t units = 0;
  for (const Text* text : {&eventID, &eventSource, &eventDesc, &eventDescEx}) units += text->capacity();
  return units * sizeof(char16_t);
}

RuleConditions ConditionsOf(const PlainIni& rule) {
  const auto value = [&](const SettingName& setting) {
    const std::optional<TextView> raw = rule.RawValue(setting);
    return raw ? ProfileValue(*raw) : Text();
  };
  RuleConditions conditions;
  std::uint32_t types = 0;
  for (std::uint32_t type = 0; type < kTypes; ++type) {
    if (value(RuleSettings::kTypes[type]) == u"1") types |= 1u << type;
  }
  for (std::uint32_t log = 0; log < std::size(kRuleLogNames); ++log) {
    if (value(RuleSettings::kLogs[log]) == u"1") conditions.cells |= types << (log * kTypes);
  }
  conditions.eventID = value(RuleSettings::kEventID);
  conditions.eventSource = value(RuleSettings::kEventSource);
  conditions.eventDesc = value(RuleSettings::kEventDesc);
  conditions.eventDescEx = value(RuleSettings::kEventDescEx);
  return conditions;
}

bool Covers(const RuleConditions& wide, const RuleConditions& narrow) {
  const auto takes = [](const Text& wanted, const Text& narrower) {
    return wanted.empty() || App_Strings::StringsMatch(wanted, narrower);
  };
  if ((narrow.cells & ~wide.cells) != 0) return false;
  if (!takes(wide.eventID, narrow.eventID) || !takes(wide.eventSource, narrow.eventSource)) return false;
  if (!wide.eventDesc.empty() && !ContainsFolded(narrow.eventDesc, wide.eventDesc)) return false;
  return wide.eventDescEx.empty() || (!narrow.eventDescEx.empty() && ContainsFolded(wide.eventDescEx, narrow.eventDescEx));
}

std::optional<std::uint32_t> CellOf(const EventRecord& record) {
  const std::optional<std::uint32_t> log = LogNumber(record.logfile);
  const std::optional<std::uint32_t> type = TypeNumber(record.eventType, record.type);
  return log && type ? std::optional(*log * kTypes + *type) : std::nullopt;
}

void RuleIndex::ByText::Add(TextView text, std::uint32_t cells, std::uint32_t rule) {
  entries_.emplace_back(HashOf(text), rule);
  cells_ |= cells;
}

void RuleIndex::ByText::Finish() {
  std::ranges::sort(entries_);
  const std::size_t buckets = std::bit_ceil(std::max<std::size_t>(entries_.size(), 2));
  shift_ = 32 - static_cast<unsigned>(std::countr_zero(buckets));
  starts_.assign(buckets + 1, static_cast<std::uint32_t>(entries_.size()));
  for (std::size_t i = entries_.size(); i-- > 0;) starts_[entries_[i].first >> shift_] = static_cast<std::uint32_t>(i);
  for (std::size_t i = buckets; i-- > 0;) starts_[i] = std::min(starts_[i], starts_[i + 1]);
}

std::span<const std::pair<std::uint32_t, std::uint32_t>> RuleIndex::ByText::Find(TextView text) const {
  const std::uint32_t hash = HashOf(text);
  const std::size_t bucket = hash >> shift_;
  const auto* begin = entries_.data() + starts_[bucket];
  const auto* const end = entries_.data() + starts_[bucket + 1];
  while (begin != end && begin->first < hash) ++begin;
  const auto* last = begin;
  while (last != end && last->first == hash) ++last;
  return {begin, last};
}

std::size_t RuleIndex::ByText::MemoryInUse() const {
  return entries_.capacity() * sizeof(entries_.front()) + starts_.capacity() * sizeof(std::uint32_t);
}

// No rule is lost. Each rule is filed in exactly one place, by a condition that it has: its event ID, else its text, else
// its source, else under every cell to which it is open. A record that fulfils the rule fulfils that condition too, so Find
// comes across the rule there: equal texts (StringsMatch) trim and fold alike and so have one hash, the text set finds every
// text that ContainsFolded finds, and a cell is passed over only when no rule filed there is open to it.
RuleIndex::RuleIndex(std::vector<RuleConditions> rules, std::span<const TextView> phrases)
    : rules_(std::move(rules)), phraseCount_(static_cast<std::uint32_t>(phrases.size())) {
  std::vector<TextSet::Member> texts;
  for (const TextView phrase : phrases) texts.push_back({Text(phrase), kEverywhere});
  ruleOfText_.assign(phrases.size(), 0);
  for (std::uint32_t number = 0; number < rules_.size(); ++number) {
    const RuleConditions& rule = rules_[number];
    if (!rule.eventID.empty()) {
      byId_.Add(rule.eventID, rule.cells, number);
    } else if (!rule.eventDesc.empty()) {
      texts.push_back({rule.eventDesc, rule.cells});
      ruleOfText_.push_back(number);
    } else if (!rule.eventSource.empty()) {
      bySource_.Add(rule.eventSource, rule.cells, number);
    } else {
      for (std::size_t cell = 0; cell < kCells; ++cell) {
        if ((rule.cells >> cell & 1) != 0) unconditional_[cell].push_back(number);
      }
    }
  }
  byId_.Finish();
  bySource_.Finish();
  texts_ = TextSet(texts);
}

void RuleIndex::Find(const EventRecord& record, Scratch& scratch) const {
  scratch.rules.clear();
  const std::optional<std::uint32_t> cell = CellOf(record);
  texts_.Find(record.message, 1u << cell.value_or(kNoCell), scratch.texts);
  if (!cell) return;
  const auto consider = [&](std::uint32_t rule) {
    if (MayMatch(rule, *cell, record)) scratch.rules.push_back(rule);
  };
  for (const std::uint32_t text : scratch.texts.found) {
    if (text >= phraseCount_) consider(ruleOfText_[text]);
  }
  if (byId_.ServesCell(*cell)) {
    for (const auto& [hash, rule] : byId_.Find(record.eventCode)) consider(rule);
  }
  if (bySource_.ServesCell(*cell)) {
    for (const auto& [hash, rule] : bySource_.Find(record.sourceName)) consider(rule);
  }
  for (const std::uint32_t rule : unconditional_[*cell]) consider(rule);
  if (scratch.rules.size() > 1) std::ranges::sort(scratch.rules);
}

// All conditions of the rule, by the functions by which RuleMatches tests them, so that what passes here matches; only a
// text by which the rule was filed is not looked for again, for it has been found.
bool RuleIndex::MayMatch(std::uint32_t number, std::uint32_t cell, const EventRecord& record) const {
  const RuleConditions& rule = rules_[number];
  if ((rule.cells >> cell & 1) == 0) return false;
  if (!rule.eventID.empty() && !App_Strings::StringsMatch(rule.eventID, record.eventCode)) return false;
  if (!rule.eventSource.empty() && !App_Strings::StringsMatch(rule.eventSource, record.sourceName)) return false;
  const bool hasTextToFind = !rule.eventID.empty() && !rule.eventDesc.empty();
  if (hasTextToFind && !ContainsFolded(record.message, rule.eventDesc)) return false;
  return rule.eventDescEx.empty() || !ContainsFolded(record.message, rule.eventDescEx);
}

std::size_t RuleIndex::MemoryInUse() const {
  std::size_t bytes = rules_.capacity() * sizeof(RuleConditions) + byId_.MemoryInUse() + bySource_.MemoryInUse() +
                      texts_.MemoryInUse() + ruleOfText_.capacity() * sizeof(std::uint32_t);
  for (const auto& rules : unconditional_) bytes += rules.capacity() * sizeof(std::uint32_t);
  for (const RuleConditions& rule : rules_) bytes += rule.MemoryInUse();
  return bytes;
}

}  // namespace ovs
