#include "monitor/Rule.h"

#include <array>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

using App_Strings::StringsMatch;

bool IsSet(RuleReader& rule, TextView section, TextView key) { return rule.Read(section, key) == u"1"; }

// An empty value asks for nothing.
bool EqualsWhenGiven(RuleReader& rule, TextView key, TextView actual) {
  const Text wanted = rule.Read(u"EventDetail", key);
  return wanted.empty() || StringsMatch(wanted, actual);
}

bool AgreesWithMessage(RuleReader& rule, TextView message) {
  const Text wanted = rule.Read(u"EventDetail", u"EventDesc");
  if (!wanted.empty() && !ContainsFolded(message, wanted)) return false;
  const Text unwanted = rule.Read(u"EventDetail", u"EventDescEx");
  return unwanted.empty() || !ContainsFolded(message, unwanted);
}

}  // namespace

TextView LogKey(TextView logfile) {
  for (const TextView name : kRuleLogNames) {
    if (StringsMatch(logfile, name)) return name;
  }
  return {};
}

TextView TypeKey(std::int16_t eventType, TextView typeText) {
  static constexpr std::array<TextView, 6> kByNumber = {u"", u"Error", u"Warning", u"Info", u"Success", u"Failure"};
  if (eventType >= 1 && eventType <= 5) return kByNumber[static_cast<std::size_t>(eventType)];
  for (const TextView key : {kByNumber[1], kByNumber[2], kByNumber[4], kByNumber[5]}) {
    if (StringsMatch(typeText, key)) return key;
  }
  return StringsMatch(typeText.substr(0, 4), kByNumber[3]) ? kByNumber[3] : TextView();
}

Text RuleName(TextView ruleFile) {
  const std::size_t folderEnd = ruleFile.rfind(u'\\');
  const TextView name = folderEnd == TextView::npos ? ruleFile : ruleFile.substr(folderEnd + 1);
  const std::size_t dot = name.rfind(u'.');
  return Text(name.substr(0, dot));
}

bool RuleMatches(RuleReader& rule, const EventRecord& record) {
  const TextView log = LogKey(record.logfile);
  if (log.empty() || !IsSet(rule, u"LogFile", log)) return false;
  const TextView type = TypeKey(record.eventType, record.type);
  if (type.empty() || !IsSet(rule, u"EventType", type)) return false;
  return EqualsWhenGiven(rule, u"EventID", record.eventCode) && EqualsWhenGiven(rule, u"EventSource", record.sourceName) &&
         AgreesWithMessage(rule, record.message);
}

}  // namespace ovs
