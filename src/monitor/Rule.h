// A rule file: how it is read and what it means. This is the one definition; everything faster than it must agree with it.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/FileProblems.h"
#include "events/EventRecord.h"

namespace ovs {

// The names of the logs that a rule can name, and the keys of the types, in the order of their numbers.
inline constexpr auto kRuleLogNames = KeyTexts(RuleSettings::kLogs);
inline constexpr auto kRuleTypeNames = KeyTexts(RuleSettings::kTypes);

// Which of the six a record's log is; none for a log that no rule can name.
[[nodiscard]] std::optional<std::uint32_t> LogNumber(TextView logfile);

// Which of the five a record's type is: by the number, else by the type text; none for another type.
[[nodiscard]] std::optional<std::uint32_t> TypeNumber(std::int16_t eventType, TextView typeText);

// The name shown for a rule file: its file name without folder and without the last extension.
[[nodiscard]] Text RuleName(TextView ruleFile);

// Reads one value of the rule at hand; an empty text when it is missing.
class RuleReader {
 public:
  virtual ~RuleReader() = default;
  virtual Text Read(const SettingName& setting) = 0;
};

// The conditions of a rule in the order in which they are tested; the last two are of the message.
enum class RuleCondition { Log, Type, EventID, EventSource, EventDesc, EventDescEx };

// The first condition of the rule that the record does not pass: log, type, event ID, source, text that must occur, text
// that must not. None when it passes all. Reads only the keys up to that condition. Global exclusions are not looked at.
[[nodiscard]] std::optional<RuleCondition> FirstFailedCondition(RuleReader& rule, const EventRecord& record);

[[nodiscard]] inline bool RuleMatches(RuleReader& rule, const EventRecord& record) {
  return !FirstFailedCondition(rule, record);
}

// Reads a rule file; replaces `out`, which a refusal of the system leaves as it was. A file that cannot be used is reported
// once, either to `problems` or to those of `ini`. Ok only when a record can match: a file without a section [LogFile]
// counts as unusable.
[[nodiscard]] IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out);

// A rule file that was read: all its keys are of one moment. What it is made of must outlive it.
class RuleFileReader final : public RuleReader {
 public:
  RuleFileReader(App_Common& ini, TextView path, const PlainIni& content) : ini_(ini), path_(path), content_(content) {}
  Text Read(const SettingName& setting) override { return ini_.ReadINI(content_, path_, setting); }

 private:
  App_Common& ini_;
  TextView path_;
  const PlainIni& content_;
};

}  // namespace ovs
