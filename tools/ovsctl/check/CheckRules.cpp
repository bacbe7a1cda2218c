#include "ovsctl/check/FileChecks.h"

#include <algorithm>
#include <utility>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "monitor/RecordKind.h"
#include "monitor/Rule.h"
#include "ovsctl/check/CheckValue.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

using App_Strings::StringsMatch;

// A section of switches of which one must be on.
void CheckSwitches(const CheckedRule& rule, std::span<const SettingName> switches, const std::string& what,
                   Findings& findings) {
  const TextView section = switches.front().section;
  const std::string shown = "[" + Console::Shown(section) + "]";
  const std::string example = Console::Shown(switches.front().key) + "=1.";
  const auto isOn = [&](const SettingName& each) { return ValueOf(rule.content, each) == u"1"; };
  if (!rule.content.HasSection(section)) {
    findings.Error(0, "there is no section " + shown + ", so the rule can never match",
                   "Add " + shown + " and, for instance, " + example);
  } else if (std::ranges::none_of(switches, isOn)) {
    findings.Error(LineOfSection(rule.lines, section), "no " + what + " is on, so the rule can never match",
                   "Switch one on, for instance " + example);
  }
}

// "\n" or "\r\n" that somebody wrote for a line break. One behind a drive, or beside other backslashes, is of a path.
bool HasWrittenLineBreak(TextView text) {
  if (text.find(u"\\r\\n") != TextView::npos || ContainsFolded(text, u"<CRLF>") || ContainsFolded(text, u"<NL>"))
    return true;
  const std::size_t at = text.find(u"\\n");
  if (at == TextView::npos || at == 0 || text[at - 1] == u':') return false;
  for (std::size_t i = text.find(u'\\'); i != TextView::npos; i = text.find(u'\\', i + 1)) {
    if (i + 1 >= text.size() || text[i + 1] != u'n') return false;
  }
  return true;
}

void CheckDescription(const CheckedRule& rule, const SettingName& key, TextView text, Findings& findings) {
  const std::string name = Console::Shown(key.key);
  if (HasWildcardEnds(text)) {
    findings.Warning(rule.LineOf(key), name + " begins or ends with a wildcard, which is looked for as it stands",
                     "Leave it out: the text is found anywhere in the message.");
  }
  if (HasWrittenLineBreak(text)) {
    findings.Warning(rule.LineOf(key), name + " seems to hold a line break, which is looked for as it stands",
                     "Take a text that stands within one line of the message.");
  }
}

void CheckSource(const CheckedRule& rule, Findings& findings) {
  const Text& source = rule.conditions.eventSource;
  if (source.find_first_of(u"*?") != Text::npos) {
    findings.Error(rule.LineOf(RuleSettings::kEventSource), "EventSource is " + Quoted(source) + "; there are no wildcards",
                   "Write the whole name of one source.");
  } else if (source.find_first_of(u",;|") != Text::npos) {
    findings.Warning(rule.LineOf(RuleSettings::kEventSource),
                     "EventSource is " + Quoted(source) + ", which counts as one name", "Write one rule for each source.");
  }
}

// Conditions that no record can meet.
void CheckContradictions(const CheckedRule& rule, Findings& findings) {
  const RuleConditions& wanted = rule.conditions;
  if (!wanted.eventDescEx.empty() && ContainsFolded(wanted.eventDesc, wanted.eventDescEx)) {
    findings.Error(rule.LineOf(RuleSettings::kEventDescEx),
                   "EventDescEx is part of EventDesc (line " + std::to_string(rule.LineOf(RuleSettings::kEventDesc)) +
                       "), so the rule can never match",
                   "Take a text for EventDescEx that does not occur in EventDesc.");
  }
  if (ContainsFolded(wanted.eventDesc, Phrases::kStop)) {
    findings.Error(rule.LineOf(RuleSettings::kEventDesc),
                   "EventDesc holds the phrase that stops the service; such a record is never tested against rules",
                   "Take another text.");
  }
  if (StringsMatch(wanted.eventSource, u"service control manager") && ContainsFolded(wanted.eventDesc, Phrases::kOwnCrash)) {
    findings.Error(rule.LineOf(RuleSettings::kEventDesc),
                   "EventDesc asks for the report that this service itself crashed; such a record is never tested",
                   "Let the recovery actions of the service tell you.");
  }
}

// "Service File Name:  C:\\x": a field of the message and how its value begins.
bool BeginsWithFieldName(TextView text) {
  const std::size_t colon = text.find(u':');
  return colon != TextView::npos && colon > 0 && text.substr(colon + 1, 1).find_first_of(u" \t") == 0;
}

// Texts by which whoever causes the record keeps it from alerting.
void CheckHidingText(const CheckedRule& rule, Findings& findings) {
  const Text& text = rule.conditions.eventDescEx;
  if (text.empty()) return;
  const std::size_t line = rule.LineOf(RuleSettings::kEventDescEx);
  if (ValueOf(rule.content, RuleSettings::kLogs[LogNumber(u"Security").value_or(0)]) == u"1") {
    findings.Warning(line,
                     "whoever can write EventDescEx into a record of the log Security, as the user or computer name of a "
                     "logon for instance, keeps it from alerting",
                     "Leave EventDescEx out, and narrow the rule by EventID and EventDesc.");
  } else if (StringsMatch(rule.conditions.eventID, u"7045") && !BeginsWithFieldName(text)) {
    findings.Warning(line,
                     "whoever installs a service chooses its names and its path, and hides it by a part that is EventDescEx",
                     "Begin the text with the name of its field, such as \"Service File Name:  C:\\...\".");
  }
}

}  // namespace

CheckedRule MakeCheckedRule(std::size_t file, PlainIni content) {
  CheckedRule rule{file, std::move(content), {}, {}};
  rule.lines = rule.content.Lines();
  rule.conditions = ConditionsOf(rule.content);
  return rule;
}

void CheckRule(os::Files& files, const CheckedRule& rule, Findings& findings) {
  findings.ContinueFile(rule.file);
  CheckIniLines(files, rule.content, RuleSettings::kAll, findings);
  CheckSwitches(rule, RuleSettings::kLogs, "log", findings);
  CheckSwitches(rule, RuleSettings::kTypes, "event type", findings);
  CheckSource(rule, findings);
  CheckDescription(rule, RuleSettings::kEventDesc, rule.conditions.eventDesc, findings);
  CheckDescription(rule, RuleSettings::kEventDescEx, rule.conditions.eventDescEx, findings);
  CheckContradictions(rule, findings);
  CheckHidingText(rule, findings);
}

void CheckRuleAgainstLists(const CheckedRule& rule, GlobalExclusions& lists, Findings& findings) {
  const RuleConditions& wanted = rule.conditions;
  findings.ContinueFile(rule.file);
  const auto report = [&](GlobalExclusions::List list, const SettingName& key, TextView value) {
    const auto line = lists.LineThatExcludes(list, value);
    findings.Error(rule.LineOf(key),
                   "no alert of this rule ever comes: " + Console::Shown(GlobalExclusions::FileName(list)) + ", line " +
                       std::to_string(line ? line->number : 0) + ", excludes its " + Console::Shown(key.key),
                   "Remove that line from the list, or the rule.");
  };
  // An empty value is never asked for: it would be that of a record without source.
  if (!wanted.eventID.empty() && lists.CheckGlobalEventIDEx(wanted.eventID)) {
    report(GlobalExclusions::kIds, RuleSettings::kEventID, wanted.eventID);
  }
  if (!wanted.eventSource.empty() && lists.CheckGlobalEventSourceEx(wanted.eventSource)) {
    report(GlobalExclusions::kSources, RuleSettings::kEventSource, wanted.eventSource);
  }
  if (!wanted.eventDesc.empty() && lists.CheckGlobalEventDescEx(wanted.eventDesc)) {
    report(GlobalExclusions::kTexts, RuleSettings::kEventDesc, wanted.eventDesc);
  }
}

void CheckRulesAgainstEachOther(const std::vector<CheckedRule>& rules, Findings& findings) {
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const RuleConditions& own = rules[i].conditions;
    if (own.cells == 0) continue;  // it never matches, which was said
    for (std::size_t j = 0; j < rules.size(); ++j) {
      const RuleConditions& other = rules[j].conditions;
      if (i == j || other.cells == 0 || !Covers(other, own)) continue;
      const bool same = Covers(own, other);
      if (same && j > i) continue;  // the later of two equal ones is told
      findings.ContinueFile(rules[i].file);
      const std::string& name = findings.NameOf(rules[j].file);
      if (same) {
        findings.Error(0, "this rule means the same as " + name + ", so each record gives two alerts",
                       "Remove one of the two.");
      } else {
        findings.Warning(0, "every record of this rule is one of " + name + " as well and gives two alerts",
                         "Remove this rule, or narrow the other with EventDescEx.");
      }
      break;
    }
  }
}

}  // namespace ovs
