#include "ovsctl/explain/Explanation.h"

#include <iterator>
#include <span>
#include <utility>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "monitor/Rule.h"

namespace ovs {

namespace {

Text KeysThatAreOn(RuleReader& rule, std::span<const SettingName> switches) {
  Text on;
  for (const SettingName& each : switches) {
    if (rule.Read(each) == u"1") on += (on.empty() ? u"" : u", ") + Text(each.key);
  }
  return on;
}

void DescribeFailure(RuleReader& rule, RuleCondition failed, const EventRecord& record, RuleOutcome& out) {
  switch (failed) {
    case RuleCondition::Log:
      out.ruleSays = KeysThatAreOn(rule, RuleSettings::kLogs);
      out.recordHas = record.logfile;
      return;
    case RuleCondition::Type:
      out.ruleSays = KeysThatAreOn(rule, RuleSettings::kTypes);
      out.recordHas = record.type + u" (" + NumberText(record.eventType) + u")";
      return;
    case RuleCondition::EventID:
      out.ruleSays = rule.Read(RuleSettings::kEventID);
      out.recordHas = record.eventCode;
      return;
    case RuleCondition::EventSource:
      out.ruleSays = rule.Read(RuleSettings::kEventSource);
      out.recordHas = record.sourceName;
      return;
    // The message is long, and at hand.
    case RuleCondition::EventDesc:
      out.ruleSays = rule.Read(RuleSettings::kEventDesc);
      return;
    case RuleCondition::EventDescEx:
      out.ruleSays = rule.Read(RuleSettings::kEventDescEx);
      return;
  }
}

}  // namespace

std::string_view NameOf(RuleCondition condition) {
  switch (condition) {
    case RuleCondition::Log:
      return "Log";
    case RuleCondition::Type:
      return "Type";
    case RuleCondition::EventID:
      return "EventID";
    case RuleCondition::EventSource:
      return "EventSource";
    case RuleCondition::EventDesc:
      return "EventDesc";
    case RuleCondition::EventDescEx:
      return "EventDescEx";
  }
  return {};
}

Explainer::Explainer(const RuleBookParts& parts, const MonitorSettings& settings, TextView onlyRule)
    : ini_(parts.ini), diskEventsRuleName_(settings.diskEventsRuleName), onlyRule_(onlyRule), book_(parts, settings) {}

std::size_t Explainer::RuleCount() {
  book_.Refresh();
  std::size_t count = 0;
  for (std::uint32_t i = 0; i < book_.RuleCount(); ++i) count += IsAsked(book_.RuleAt(i)) ? 1U : 0U;
  return count;
}

bool Explainer::IsAsked(const RuleBook::Rule& rule) const {
  return onlyRule_.empty() || App_Strings::StringsMatch(RuleName(rule.path), onlyRule_);
}

RuleOutcome Explainer::Ask(const RuleBook::Rule& rule, const EventRecord& record) {
  RuleOutcome out{.name = RuleName(rule.path), .usable = rule.usable, .failed = {}, .ruleSays = {}, .recordHas = {}};
  if (!rule.usable) return out;
  RuleFileReader reader(ini_, rule.path, rule.content);
  out.failed = FirstFailedCondition(reader, record);
  if (out.failed) DescribeFailure(reader, *out.failed, record, out);
  return out;
}

std::optional<HidingLine> Explainer::FindHidingLine(const EventRecord& record) {
  const auto list = book_.Exclusions().ExcludedBy(record.eventCode, record.sourceName, record.message);
  if (!list) return std::nullopt;
  const TextView values[] = {record.eventCode, record.sourceName, record.message};
  auto line = book_.Exclusions().LineThatExcludes(*list, values[*list]).value_or(GlobalExclusions::Line());
  return HidingLine{Text(GlobalExclusions::FileName(*list)), line.number, std::move(line.text)};
}

Explanation Explainer::Explain(const EventRecord& record) {
  Explanation out;
  book_.Refresh();
  out.diskCheckIsOn = book_.DiskEventsOn();
  out.kind = KindOf(record, {}, [&] {
    out.disk = CheckForDiskEvent(record.sourceName, record.message);
    return out.diskCheckIsOn && IsDiskEvent(out.disk);
  });
  if (out.kind == RecordKind::StopPhrase || out.kind == RecordKind::OwnCrash) return out;
  out.hiddenBy = FindHidingLine(record);
  if (out.kind == RecordKind::DiskEvent) {
    if (!out.hiddenBy) out.alerts.push_back(diskEventsRuleName_);
  } else {
    AskRules(record, out);
  }
  return out;
}

void Explainer::AskRules(const EventRecord& record, Explanation& out) {
  std::vector<RuleOutcome> others;
  for (std::uint32_t i = 0; i < book_.RuleCount(); ++i) {
    if (!IsAsked(book_.RuleAt(i))) continue;
    RuleOutcome outcome = Ask(book_.RuleAt(i), record);
    (outcome.Matches() ? out.rules : others).push_back(std::move(outcome));
  }
  out.rules.insert(out.rules.end(), std::make_move_iterator(others.begin()), std::make_move_iterator(others.end()));
  for (const RuleOutcome& rule : out.rules) {
    if (rule.Matches() && !out.hiddenBy) out.alerts.push_back(rule.name);
  }
}

}  // namespace ovs
