#include "monitor/RuleIndex.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "config/App_Common.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

constexpr TextView kSources[] = {u"", u"Disk", u" disk ", u"Service Control Manager", u"VSS", u"\u0131stanbul", u"ISTANBUL"};
constexpr TextView kIds[] = {u"", u"7", u" 7 ", u"07", u"4625", u"1000", u"x"};
constexpr TextView kTexts[] = {u"",
                               u"error",
                               u"ERROR",
                               u"the device has a bad block",
                               u"bad",
                               u"on DISK",
                               u"gr\u00F6\u00DFe",
                               u"Harddisk\u03C3",
                               u"a",
                               u"service entered the stopped state"};
constexpr TextView kLogs[] = {u"System",
                              u" system ",
                              u"Application",
                              u"SECURITY",
                              u"Setup",
                              u"",
                              u"Microsoft-Windows-Windows Defender/Operational",
                              u"Microsoft-Windows-WindowsUpdateClient/Operational"};
constexpr TextView kTypes[] = {u"Error", u"warning", u"Information", u"Info", u"Success", u"Failure", u"Audit", u""};

class Random {
 public:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine_); }
  template <class Table>
  Text Of(const Table& table) {
    return Text(table[Below(std::size(table))]);
  }
  bool Chance(std::size_t percent) { return Below(100) < percent; }

 private:
  std::mt19937 engine_{8};
};

Text RandomRule(Random& random) {
  static constexpr TextView kOn[] = {u"1", u"1", u"1", u" 1", u"\"1\"", u"01", u"0", u"true", u""};
  Text rule = random.Chance(95) ? u"[LogFile]\r\n" : u"[logfile ]\n";
  for (const TextView log : kRuleLogNames) {
    if (random.Chance(60)) rule += Text(log) + u"=" + random.Of(kOn) + u"\r\n";
  }
  rule += u"[EventType]\r\n";
  for (const TextView type : kRuleTypeNames) {
    if (random.Chance(70)) rule += Text(type) + u" = " + random.Of(kOn) + u"\r\n";
  }
  rule += u"[EventDetail]\r\n";
  if (random.Chance(40)) rule += u"EventID=" + random.Of(kIds) + u"\r\n";
  if (random.Chance(30)) rule += u"EventSource=" + random.Of(kSources) + u"\r\n";
  if (random.Chance(50)) rule += u"EventDesc=" + random.Of(kTexts) + u"\r\n";
  if (random.Chance(25)) rule += u"EventDescEx=" + random.Of(kTexts) + u"\r\n";
  return rule;
}

EventRecord RandomRecord(Random& random) {
  EventRecord record;
  record.eventType = static_cast<std::int16_t>(static_cast<int>(random.Below(8)) - 1);
  record.type = random.Of(kTypes);
  record.eventCode = random.Of(kIds);
  record.sourceName = random.Of(kSources);
  record.logfile = random.Of(kLogs);
  for (std::size_t part = random.Below(4); part > 0; --part) record.message += random.Of(kTexts) + u" ";
  return record;
}

// A rule as the service reads it from its file.
class FileReader final : public RuleReader {
 public:
  explicit FileReader(App_Common& ini) : ini_(ini) {}
  Text Read(TextView section, TextView key) override { return ini_.ReadINI(u"C:\\rule.DAT", section, key); }

 private:
  App_Common& ini_;
};

// 500 rule sets of 20 rules, 25 records each: 250,000 pairs.
TEST(RuleIndexTest, NoRuleThatMatchesIsLeftOutAndNoneThatCannotIsTested) {
  Random random;
  fakes::MemoryFiles files;
  App_Common ini(files);
  FileReader reader(ini);
  std::size_t matches = 0;
  for (int set = 0; set < 500; ++set) {
    std::vector<Text> rules;
    std::vector<RuleConditions> conditions;
    while (rules.size() < 20) {
      rules.push_back(RandomRule(random));
      conditions.push_back(ConditionsOf(PlainIni(rules.back())));
    }
    const TextView phrases[] = {u"bad block", u"Stopped State"};
    const RuleIndex index(conditions, phrases);
    RuleIndex::Scratch scratch;
    std::vector<EventRecord> records(25);
    std::vector<std::vector<std::uint32_t>> expected(records.size());
    for (EventRecord& record : records) record = RandomRecord(random);
    for (std::uint32_t rule = 0; rule < rules.size(); ++rule) {
      ASSERT_TRUE(files.Write(u"C:\\rule.DAT", ToUtf8(rules[rule])));
      for (std::size_t i = 0; i < records.size(); ++i) {
        if (RuleMatches(reader, records[i])) expected[i].push_back(rule);
      }
    }
    for (std::size_t i = 0; i < records.size(); ++i) {
      index.Find(records[i], scratch);
      // The index happens to be exact; it may only ever err by naming too many.
      ASSERT_EQ(scratch.rules, expected[i]) << "set " << set << ", record " << i << ": " << ToUtf8(records[i].message);
      matches += expected[i].size();
      for (std::uint32_t phrase = 0; phrase < 2; ++phrase) {
        ASSERT_EQ(RuleIndex::Phrase(scratch, phrase), ContainsFolded(records[i].message, phrases[phrase]));
      }
    }
  }
  EXPECT_GT(matches, 5000u);
}

}  // namespace
}  // namespace ovs
