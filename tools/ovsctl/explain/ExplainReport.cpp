#include "ovsctl/explain/ExplainReport.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "events/files/Records.h"
#include "monitor/RecordKind.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Json.h"

namespace ovs {

namespace {

using Console::Shown;
using Console::Style;
using Console::Styled;

constexpr std::size_t kLongestValue = 60;
constexpr std::size_t kLongestName = 40;
constexpr std::size_t kLongestMessage = 110;

std::string Quoted(TextView text) { return '"' + Shown(text, kLongestValue) + '"'; }

std::string JoinedNames(const std::vector<Text>& names) {
  std::string all;
  for (const Text& name : names) all += (all.empty() ? "" : ", ") + Shown(name);
  return all;
}

std::string Header(const ExplainedRecord& explained) {
  const EventRecord& record = explained.record;
  const std::string title = "Record " + std::to_string(explained.number) + ": " + Shown(record.logfile) + ", " +
                            Shown(record.type) + " (" + std::to_string(record.eventType) + "), event " +
                            Shown(record.eventCode) + ", source " + Shown(record.sourceName) + ", " +
                            Shown(explained.timeText);
  const TextView message = record.message;
  const std::string first = Shown(message.substr(0, message.find_first_of(u"\r\n")), kLongestMessage);
  return Styled(Style::Bold, title) + (first.empty() ? "\n  (no message)" : "\n  " + first);
}

const char* DiskText(DiskFinding finding) {
  switch (finding) {
    case DiskFinding::DriverReport:
      return "a disk driver's report of an error";
    case DiskFinding::Corruption:
      return "a file system's report of corruption";
    case DiskFinding::TestPhrase:
      return "the message has the test phrase \"Fake Disk Alert\"";
    case DiskFinding::NoDiskSource:
      return "no disk event: the source is no disk driver and no file system";
    case DiskFinding::NoDeviceName:
      return "no disk event: \"Harddisk\" is not in the message";
    case DiskFinding::NoErrorWord:
      return "no disk event: none of \"Error\", \"Corrupt\", \"bad block\" is in the message";
    case DiskFinding::WhilePaging:
      return "no disk event: \"during a paging operation\" is in the message";
    case DiskFinding::NoCorruption:
      return "no disk event: \"Corrupt\" is not in the message";
  }
  return "";
}

std::string DiskLine(const Explanation& explanation) {
  if (explanation.diskCheckIsOn) return std::string("\n  Disk check: ") + DiskText(explanation.disk);
  const bool wouldBe = IsDiskEvent(explanation.disk);
  return std::string("\n  Disk check: off") + (wouldBe ? "; this record would be a disk event" : "");
}

std::string FailureText(const RuleOutcome& rule) {
  if (!rule.usable) return "cannot be used; the messages say why";
  if (!rule.failed) return "matches";
  const RuleCondition failed = *rule.failed;
  const bool saysNothing = rule.ruleSays.empty();
  switch (failed) {
    case RuleCondition::Log:
      if (!LogNumber(rule.recordHas)) return "no: no rule can name the log " + Quoted(rule.recordHas);
      return "no: log: the rule has " + (saysNothing ? "none on" : Shown(rule.ruleSays)) + ", the record is of " +
             Shown(rule.recordHas);
    case RuleCondition::Type:
      return "no: type: the rule has " + (saysNothing ? "none on" : Shown(rule.ruleSays)) + ", the record is " +
             Shown(rule.recordHas);
    case RuleCondition::EventID:
    case RuleCondition::EventSource:
      return "no: " + std::string(NameOf(failed)) + ": the rule says " + Quoted(rule.ruleSays) + ", the record has " +
             Quoted(rule.recordHas);
    case RuleCondition::EventDesc:
      return "no: EventDesc: " + Quoted(rule.ruleSays) + " is not in the message";
    case RuleCondition::EventDescEx:
      return "no: EventDescEx: " + Quoted(rule.ruleSays) + " is in the message";
  }
  return {};
}

std::size_t CharactersOf(std::string_view utf8) {
  return static_cast<std::size_t>(std::ranges::count_if(utf8, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string RuleLines(const std::vector<RuleOutcome>& rules) {
  std::size_t width = 0;
  for (const RuleOutcome& rule : rules) width = std::max(width, CharactersOf(Shown(rule.name, kLongestName)));
  std::string lines;
  for (const RuleOutcome& rule : rules) {
    const std::string name = Shown(rule.name, kLongestName);
    const Style style = rule.Matches() ? Style::Good : rule.usable ? Style::Faint : Style::Bad;
    lines += "\n    " + name + std::string(width - CharactersOf(name), ' ') + "  " + Styled(style, FailureText(rule));
  }
  return lines.empty() ? "\n  Rules: none" : "\n  Rules:" + lines;
}

std::string ExclusionLine(const Explanation& explanation) {
  if (!explanation.hiddenBy) return "\n  Exclusions: none applies";
  const HidingLine& line = *explanation.hiddenBy;
  return "\n  Exclusions: " + Styled(Style::Bad, Shown(line.file) + ", line " + std::to_string(line.number) + ": " +
                                                     Quoted(line.text) + " excludes the record");
}

std::string ResultText(const Explanation& explanation) {
  if (!explanation.alerts.empty()) {
    return Styled(Style::Good, explanation.alerts.size() == 1 ? "alert " + Shown(explanation.alerts.front())
                                                              : std::to_string(explanation.alerts.size()) +
                                                                    " alerts: " + JoinedNames(explanation.alerts));
  }
  const bool wouldAlert =
      explanation.kind == RecordKind::DiskEvent || std::ranges::any_of(explanation.rules, &RuleOutcome::Matches);
  return wouldAlert ? Styled(Style::Bad, "no alert, it is excluded") : "no alert";
}

nlohmann::ordered_json RuleJson(const RuleOutcome& rule) {
  nlohmann::ordered_json json = {{"rule", ToUtf8(rule.name)}, {"matches", rule.Matches()}};
  if (!rule.usable) json["usable"] = false;
  if (!rule.failed) return json;
  json["failed"] = NameOf(*rule.failed);
  json["ruleSays"] = ToUtf8(rule.ruleSays);
  const bool isOfMessage = *rule.failed == RuleCondition::EventDesc || *rule.failed == RuleCondition::EventDescEx;
  if (!isOfMessage) json["recordHas"] = ToUtf8(rule.recordHas);
  return json;
}

const char* KindName(RecordKind kind) {
  switch (kind) {
    case RecordKind::StopPhrase:
      return "stop phrase";
    case RecordKind::OwnCrash:
      return "own crash";
    case RecordKind::DiskEvent:
      return "disk event";
    case RecordKind::Ordinary:
      break;
  }
  return "rules";
}

}  // namespace

std::string ExplanationText(const ExplainedRecord& explained) {
  const Explanation& explanation = explained.explanation;
  const std::string header = Header(explained);
  if (explanation.kind == RecordKind::StopPhrase) {
    return header + "\n  Stop phrase: with this record the service ends the handling of records\n  Result: no alert";
  }
  if (explanation.kind == RecordKind::OwnCrash) {
    return header + "\n  Own crash: the service does not alert to its own crash\n  Result: no alert";
  }
  const std::string rules = explanation.kind == RecordKind::DiskEvent
                                ? "\n  Rules: not asked, the disk check has taken the record"
                                : RuleLines(explanation.rules);
  return header + DiskLine(explanation) + rules + ExclusionLine(explanation) + "\n  Result: " + ResultText(explanation);
}

std::string ExplanationJson(const ExplainedRecord& explained) {
  const Explanation& explanation = explained.explanation;
  nlohmann::ordered_json json = {{"number", explained.number},
                                 {"record", nlohmann::ordered_json::parse(RecordJson(explained.record))},
                                 {"time", ToUtf8(explained.timeText)},
                                 {"decidedBy", KindName(explanation.kind)},
                                 {"alerts", nlohmann::ordered_json::array()},
                                 {"diskCheck", {{"on", explanation.diskCheckIsOn}, {"finding", DiskText(explanation.disk)}}},
                                 {"excludedBy", nullptr},
                                 {"rules", nlohmann::ordered_json::array()}};
  for (const Text& name : explanation.alerts) json["alerts"].push_back(ToUtf8(name));
  for (const RuleOutcome& rule : explanation.rules) json["rules"].push_back(RuleJson(rule));
  if (const auto& line = explanation.hiddenBy) {
    json["excludedBy"] = {{"list", ToUtf8(line->file)}, {"line", line->number}, {"text", ToUtf8(line->text)}};
  }
  return Console::JsonText(json, -1);
}

}  // namespace ovs
