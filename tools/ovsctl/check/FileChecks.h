// The checks of `ovsctl check`, one for each kind of file that the service reads.
#pragma once

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Text.h"
#include "config/PlainIni.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/RuleIndex.h"
#include "os/Files.h"
#include "ovsctl/check/CheckFindings.h"
#include "ovsctl/check/CheckIni.h"
#include "ovsctl/cli/Installation.h"

namespace ovs {

// --- rules: each for itself, against the exclusion lists, and against each other

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

// --- exclusion lists

// Finds mistakes in the lines of one list; they belong to the file that `findings` is at.
void CheckList(GlobalExclusions& lists, GlobalExclusions::List list, Findings& findings);

// --- the settings of the alert e-mail, as a whole

// Finds what the settings of [EmailConfig] lack, or where they do not fit together, when alerts are mailed. Mistakes in one
// value alone are found with the lines. The findings belong to the file that `findings` is at.
void CheckMailSettings(Installation& installation, const PlainIni& ini, Findings& findings);

// --- the program's own settings: the .cfg files

class ProgramSettingsCheck {
 public:
  // Both must outlive this object.
  ProgramSettingsCheck(os::Files& files, Findings& findings) : files_(files), findings_(findings) {}

  // The text of a file; what is found belongs to the file that the findings are at. `shown` names it. In the order in which
  // the service reads them.
  void Check(TextView content, const std::string& shown);

 private:
  struct Place {
    std::string file;
    std::size_t line;
  };

  void TakeEntry(TextView key, TextView value, std::size_t line);
  void TakeOther(TextView text, std::size_t line);
  void CheckPlace(TextView key, std::size_t line);
  void TakeUnknown(TextView key, std::size_t line);
  void TakeValue(const SettingName& key, TextView value, std::size_t line);

  os::Files& files_;
  Findings& findings_;
  std::string shown_;
  std::unordered_map<Text, Place> places_;  // by folded key
};

}  // namespace ovs
