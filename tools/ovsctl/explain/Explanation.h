// An explanation of the service's decision on one record. Each answer comes from the function by which the service decides.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "events/EventRecord.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/RecordKind.h"
#include "monitor/Rule.h"
#include "monitor/RuleBook.h"

namespace ovs {

struct RuleOutcome {
  Text name;
  bool usable = true;
  std::optional<RuleCondition> failed;  // none: the rule matches
  // Of the condition that failed: the rule's value, for log and type all that are on, and the record's, unless it is the
  // message.
  Text ruleSays;
  Text recordHas;

  [[nodiscard]] bool Matches() const { return usable && !failed; }
};

struct HidingLine {
  Text file;  // name without folder
  std::size_t number = 0;
  Text text;
};

struct Explanation {
  RecordKind kind = RecordKind::Ordinary;
  bool diskCheckIsOn = false;
  DiskFinding disk = DiskFinding::NoDiskSource;
  std::optional<HidingLine> hiddenBy;  // an exclusion: no alert whatever matches
  std::vector<RuleOutcome> rules;      // those that match first, else in the order of the folder; empty when none is asked
  std::vector<Text> alerts;            // rule names, in the order in which the alerts would go out
};

class Explainer {
 public:
  // When `onlyRule` is not empty, only the rule of that name is looked at.
  Explainer(const RuleBookParts& parts, const MonitorSettings& settings, TextView onlyRule);

  // At this moment, unusable ones among them.
  [[nodiscard]] std::size_t RuleCount();
  [[nodiscard]] Explanation Explain(const EventRecord& record);

 private:
  [[nodiscard]] bool IsAsked(const RuleBook::Rule& rule) const;
  void AskRules(const EventRecord& record, Explanation& out);
  [[nodiscard]] RuleOutcome Ask(const RuleBook::Rule& rule, const EventRecord& record);
  [[nodiscard]] std::optional<HidingLine> FindHidingLine(const EventRecord& record);

  App_Common& ini_;
  Text diskEventsRuleName_;
  Text onlyRule_;
  RuleBook book_;
};

// "Log", "Type" or the name of the rule file's key.
[[nodiscard]] std::string_view NameOf(RuleCondition condition);

}  // namespace ovs
