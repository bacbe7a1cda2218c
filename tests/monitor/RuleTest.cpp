#include "monitor/Rule.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/Encoding.h"

namespace ovs {
namespace {

EventRecord Record() {
  return {2, u"Warning", u"7", u"Disk", u"The device has a Bad Block.\r\nRetry later", u"System", u"20240307130509"};
}

// A rule whose values come out of a parsed text, as the service reads it, and that remembers what was asked.
class TextRule final : public RuleReader {
 public:
  explicit TextRule(Text text) : ini_(std::move(text)) {}
  Text Read(const SettingName& setting) override {
    asked.emplace_back(setting.key);
    return ProfileValue(ini_.RawValue(setting).value_or(TextView()));
  }
  std::vector<Text> asked;

 private:
  PlainIni ini_;
};

struct Case {
  const char* name;
  Text rule;
  bool matches;
};

const Text kOpen = u"[LogFile]\r\nSystem=1\r\n[EventType]\r\nWarning=1\r\n";

TEST(RuleMatches, EveryConditionCounts) {
  const Case cases[] = {
      {"log and type suffice", kOpen, true},
      {"names in any case", u"[LOGFILE]\nsystem=1\n[eventtype]\nWARNING=1", true},
      {"another log", u"[LogFile]\nApplication=1\n[EventType]\nWarning=1", false},
      {"another type", u"[LogFile]\nSystem=1\n[EventType]\nError=1", false},
      {"no type section", u"[LogFile]\nSystem=1", false},
      {"01 is not set", u"[LogFile]\nSystem=01\n[EventType]\nWarning=1", false},
      {"true is not set", u"[LogFile]\nSystem=true\n[EventType]\nWarning=1", false},
      {"blanks around the 1", u"[LogFile]\nSystem= 1 \n[EventType]\nWarning=\"1\"", true},
      {"event ID with blanks", kOpen + u"[EventDetail]\nEventID=  7 ", true},
      {"event ID is compared as text", kOpen + u"[EventDetail]\nEventID=07", false},
      {"part of an event ID", kOpen + u"[EventDetail]\nEventID=77", false},
      {"source in another case", kOpen + u"[EventDetail]\nEventSource=dISK", true},
      {"part of a source", kOpen + u"[EventDetail]\nEventSource=Dis", false},
      {"text anywhere, any case", kOpen + u"[EventDetail]\nEventDesc=bad bLOCK", true},
      {"text that is not there", kOpen + u"[EventDetail]\nEventDesc=bad sector", false},
      {"unwanted text", kOpen + u"[EventDetail]\nEventDescEx=RETRY", false},
      {"unwanted text not there", kOpen + u"[EventDetail]\nEventDescEx=gone", true},
      {"wanted and unwanted alike", kOpen + u"[EventDetail]\nEventDesc=Bad\nEventDescEx=Bad", false},
      {"only the first key counts", kOpen + u"[EventDetail]\nEventID=7\nEventID=8", true},
      {"only the first section counts", kOpen + u"[EventDetail]\nEventSource=Disk\n[EventDetail]\nEventID=8", true},
  };
  for (const Case& each : cases) {
    TextRule rule(each.rule);
    EXPECT_EQ(RuleMatches(rule, Record()), each.matches) << each.name;
  }
}

TEST(RuleMatches, StopsAtTheFirstConditionThatFails) {
  TextRule rule(u"[LogFile]\nSystem=1\nSetup=1\n[EventType]\nError=1\n[EventDetail]\nEventID=7");
  EventRecord record = Record();
  EXPECT_EQ(FirstFailedCondition(rule, record), RuleCondition::Type);
  EXPECT_EQ(rule.asked, (std::vector<Text>{u"System", u"Warning"}));
  record.logfile = u"Setup";
  rule.asked.clear();
  EXPECT_EQ(FirstFailedCondition(rule, record), RuleCondition::Log) << "no rule can name this log";
  EXPECT_TRUE(rule.asked.empty());
}

TEST(RuleKeys, LogByNameInAnyCase) {
  EXPECT_EQ(LogNumber(u" security "), 2u);
  EXPECT_EQ(LogNumber(u"MICROSOFT-WINDOWS-WINDOWS DEFENDER/OPERATIONAL"), 3u);
  EXPECT_EQ(LogNumber(u"Microsoft-Windows-Windows Defender"), std::nullopt);
  EXPECT_EQ(LogNumber(u""), std::nullopt);
}

TEST(RuleKeys, TypeByNumberElseByText) {
  for (std::int16_t number = 1; number <= 5; ++number)
    EXPECT_EQ(TypeNumber(number, u"Failure").value_or(9) + 1, static_cast<std::uint32_t>(number));
  struct {
    TextView text;
    TextView key;
  } const cases[] = {{u"Information", u"Info"},
                     {u"info", u"Info"},
                     {u"INFORMATIONS", u"Info"},
                     {u" error ", u"Error"},
                     {u"success", u"Success"},
                     {u"Warning", u"Warning"},
                     {u"Audit Success", u""},
                     {u"", u""},
                     {u"Inf", u""}};
  for (const std::int16_t number : std::initializer_list<std::int16_t>{0, 6, -1, 32767}) {
    for (const auto& each : cases) {
      const auto type = TypeNumber(number, each.text);
      EXPECT_EQ(type ? kRuleTypeNames[*type] : TextView(), each.key) << number << " " << ToUtf8(each.text);
    }
  }
}

TEST(RuleNames, FileNameWithoutFolderAndLastExtension) {
  EXPECT_EQ(RuleName(u"C:\\Orvanta\\Config\\Rules\\Low Disk.DAT"), u"Low Disk");
  EXPECT_EQ(RuleName(u"C:\\a.b\\v1.2 update.dat"), u"v1.2 update");
  EXPECT_EQ(RuleName(u"C:\\a.b\\none"), u"none");
  EXPECT_EQ(RuleName(u".DAT"), u"");
}

}  // namespace
}  // namespace ovs
