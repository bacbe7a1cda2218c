// Rules: each for itself, against the exclusion lists, and against each other.
#pragma once

#include <vector>

#include "monitor/GlobalExclusions.h"
#include "monitor/RuleIndex.h"
#include "ovsctl/check/CheckIni.h"

namespace ovs {

// A rule file that was read.
struct CheckedRule {
  std::size_t file = 0;  // its number among the findings' files
  PlainIni content;
  std::vector<PlainIni::Line> lines;
  RuleConditions conditions;

  [[nodiscard]] std::size_t LineOf(const SettingName& key) const { return LineOfKey(lines, key); }
};

[[nodiscard]] CheckedRule MakeCheckedRule(std::size_t file, PlainIni content);

// Finds mistakes in the rule itself.
void CheckRule(os::Files& files, const CheckedRule& rule, Findings& findings);
// Whether a list keeps away every alert that the rule could give.
void CheckRuleAgainstLists(const CheckedRule& rule, GlobalExclusions& lists, Findings& findings);
// Rules that mean the same, and rules whose every record another one takes as well.
void CheckRulesAgainstEachOther(const std::vector<CheckedRule>& rules, Findings& findings);

}  // namespace ovs
