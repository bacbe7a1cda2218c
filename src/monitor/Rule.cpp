#include "monitor/Rule.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

using App_Strings::StringsMatch;

bool IsSet(RuleReader& rule, const SettingName& setting) { return rule.Read(setting) == u"1"; }

// An empty value asks for nothing.
bool EqualsWhenGiven(RuleReader& rule, const SettingName& setting, TextView actual) {
  const Text wanted = rule.Read(setting);
  return wanted.empty() || StringsMatch(wanted, actual);
}

std::optional<RuleCondition> FailedOnMessage(RuleReader& rule, TextView message) {
  const Text wanted = rule.Read(RuleSettings::kEventDesc);
  if (!wanted.empty() && !ContainsFolded(message, wanted)) return RuleCondition::EventDesc;
  const Text unwanted = rule.Read(RuleSettings::kEventDescEx);
  if (!unwanted.empty() && ContainsFolded(message, unwanted)) return RuleCondition::EventDescEx;
  return std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> LogNumber(TextView logfile) {
  const TextView name = App_Strings::TrimBlanks(logfile);
  const auto* const found = std::ranges::find_if(kRuleLogNames, [&](TextView known) { return EqualsFolded(known, name); });
  if (found == std::end(kRuleLogNames)) return std::nullopt;
  return static_cast<std::uint32_t>(found - std::begin(kRuleLogNames));
}

std::optional<std::uint32_t> TypeNumber(std::int16_t eventType, TextView typeText) {
  constexpr std::uint32_t kInfo = 2;
  if (eventType >= 1 && eventType <= 5) return static_cast<std::uint32_t>(eventType) - 1;
  for (const std::uint32_t type : {0u, 1u, 3u, 4u}) {
    if (StringsMatch(typeText, kRuleTypeNames[type])) return type;
  }
  return StringsMatch(typeText.substr(0, 4), kRuleTypeNames[kInfo]) ? std::optional(kInfo) : std::nullopt;
}

Text RuleName(TextView ruleFile) {
  const std::size_t folderEnd = ruleFile.rfind(u'\\');
  const TextView name = folderEnd == TextView::npos ? ruleFile : ruleFile.substr(folderEnd + 1);
  const std::size_t dot = name.rfind(u'.');
  return Text(name.substr(0, dot));
}

std::optional<RuleCondition> FirstFailedCondition(RuleReader& rule, const EventRecord& record) {
  const std::optional<std::uint32_t> log = LogNumber(record.logfile);
  if (!log || !IsSet(rule, RuleSettings::kLogs[*log])) return RuleCondition::Log;
  const std::optional<std::uint32_t> type = TypeNumber(record.eventType, record.type);
  if (!type || !IsSet(rule, RuleSettings::kTypes[*type])) return RuleCondition::Type;
  if (!EqualsWhenGiven(rule, RuleSettings::kEventID, record.eventCode)) return RuleCondition::EventID;
  if (!EqualsWhenGiven(rule, RuleSettings::kEventSource, record.sourceName)) return RuleCondition::EventSource;
  return FailedOnMessage(rule, record.message);
}

IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out) {
  PlainIni content;
  const IniLoad outcome = ini.LoadIni(path, content);
  if (outcome == IniLoad::Refused) return outcome;
  out = std::move(content);
  if (outcome == IniLoad::Missing) problems.Report(FileKind::RuleFile, path, u"it disappeared before it could be read");
  if (outcome != IniLoad::Ok) return outcome;
  if (!out.HasSection(RuleSettings::kLogs[0].section)) {
    problems.Report(FileKind::RuleFile, path, u"it has no section [LogFile], so it can never match");
    return IniLoad::Unusable;
  }
  problems.Usable(path);
  return IniLoad::Ok;
}

}  // namespace ovs
