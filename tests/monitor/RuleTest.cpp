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
  Text Read(TextView section, TextView key) override {
    asked.emplace_back(key);
    return ProfileValue(ini_.RawValue(section, key).value_or(TextView()));
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
  TextRule rule(u"[LogFile]\nSystem=1\n[EventType]\nError=1\n[EventDetail]\nEventID=7");
  EXPECT_FALSE(RuleMatches(rule, Record()));
  EXPECT_EQ(rule.asked, (std::vector<Text>{u"System", u"Warning"}));
}

TEST(RuleMatches, ALogThatNoRuleCanNameNeverMatches) {
  EventRecord record = Record();
  record.logfile = u"Setup";
  TextRule rule(kOpen + u"[LogFile]\nSetup=1");
  EXPECT_FALSE(RuleMatches(rule, record));
  EXPECT_TRUE(rule.asked.empty());
}

TEST(RuleKeys, LogByNameInAnyCase) {
  EXPECT_EQ(LogNumber(u" security "), 2u);
  EXPECT_EQ(LogNumber(u"MICROSOFT-WINDOWS-WINDOWS DEFENDER/OPERATIONAL"), 3u);
  EXPECT_EQ(LogNumber(u"Microsoft-Windows-Windows Defender"), std::nullopt);
  EXPECT_EQ(LogNumber(u""), std::nullopt);
}

TEST(RuleKeys, TypeByNumberElseByText) {
  struct {
    std::int16_t number;
    TextView text;
    TextView key;
  } const cases[] = {
      {1, u"Information", u"Error"},
      {2, u"", u"Warning"},
      {3, u"", u"Info"},
      {4, u"", u"Success"},
      {5, u"", u"Failure"},
      {0, u"Information", u"Info"},
      {0, u"info", u"Info"},
      {0, u"INFORMATIONS", u"Info"},
      {0, u" error ", u"Error"},
      {6, u"Failure", u"Failure"},
      {-1, u"success", u"Success"},
      {0, u"Audit Success", u""},
      {0, u"", u""},
      {0, u"Inf", u""},
      {32767, u"Warning", u"Warning"},
  };
  for (const auto& each : cases) {
    const auto type = TypeNumber(each.number, each.text);
    EXPECT_EQ(type ? kRuleTypeNames[*type] : TextView(), each.key) << each.number << " " << ToUtf8(each.text);
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
