#include "events/EventRecord.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "events/files/RecordPieces.h"
#include "support/AllocationCount.h"
#include "support/FakeClock.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

TEST(RawText, OrdinaryTextForms) {
  struct {
    RawValue value;
    TextView text;
  } const cases[] = {
      {std::monostate(), u""},
      {Text(u"  two  words "), u"two  words"},
      {Text(u"\0 a\0\r\nb \0", 9), u"a\r\nb"},
      {Text(u"\t tab stays"), u"\t tab stays"},
      {std::int64_t{7}, u"7"},
      {std::int64_t{-2147483649}, u"-2147483649"},
      {1.5, u"1.5"},
      {1e20, u"1E+20"},
      {-0.25, u"-0.25"},
      {true, u"True"},
      {false, u"False"},
      {DateValue{45358.5}, u"3/7/2024 12:00:00 PM"},
      {DateValue{45358}, u"3/7/2024"},
      {DateValue{0.25}, u"12/30/1899 6:00:00 AM"},
      {DateValue{-1.25}, u"12/29/1899 6:00:00 AM"},
      {DateValue{45358.999999999}, u"3/8/2024"},
      {DateValue{1e300}, u""},
      {DateValue{-1e300}, u""},
      {ObjectValue{u"SWbemObjectEx"}, u"SWbemObjectEx"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(ToUtf8(RawText(each.value)), ToUtf8(each.text)) << each.value.index();
  }
}

TEST(RawEventType, OneOfSixteenBitsElseNone) {
  struct {
    RawValue value;
    std::int16_t number;
  } const cases[] = {
      {std::int64_t{1}, 1},
      {std::int64_t{-32768}, -32768},
      {std::int64_t{32768}, 0},
      {std::monostate(), 0},
      {Text(u" 5 "), 5},
      {Text(u"five"), 0},
      {Text(u"99999"), 0},
      {2.5, 2},
      {3.5, 4},
      {1e300, 0},
      {DateValue{1}, 0},
      {true, 0},
  };
  for (const auto& each : cases) EXPECT_EQ(RawEventType(each.value), each.number) << each.value.index();
}

Text Shown(TextView timeGenerated, DisplayFlags flags) {
  fakes::MemoryFiles files;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  App_Time time(clock, zone, files);
  return RecordTimeText(time, timeGenerated, flags);
}

TEST(RecordTimeText, FormsAndOddTexts) {
  constexpr DisplayFlags kPlain{.timesInUTC = true, .dateYearFirst = false, .timeAs24Hour = false};
  constexpr DisplayFlags kIso{.timesInUTC = true, .dateYearFirst = true, .timeAs24Hour = true};
  struct {
    TextView given;
    DisplayFlags flags;
    TextView shown;
  } const cases[] = {
      {u"20240307130509.123456-000", kPlain, u"03/07/2024 01:05:09 PM"},
      {u"20240307130509.123456+060", kIso, u"2024/03/07 13:05:09"},
      {u"20240307000000", kPlain, u"03/07/2024 12:00:00 AM"},
      {u"20240307120000", kPlain, u"03/07/2024 12:00:00 PM"},
      {u"20240307", kIso, u"2024/03/07 00:00:00"},
      {u"202403071", kIso, u"2024/03/07 01:00:00"},
      {u"2024xx07130509", kIso, u"2023/12/07 13:05:09"},
      {u"20240300130509", kIso, u"2024/02/29 13:05:09"},
      {u"20241332256175", kIso, u"2025/02/02 02:02:15"},
      {u"00290101000000", kIso, u"2029/01/01 00:00:00"},
      {u"00300101000000", kIso, u"1930/01/01 00:00:00"},
      {u"20380119031408", kIso, u"2038/01/19 03:14:08"},
      {u"21000229000000", kIso, u"2100/03/01 00:00:00"},
      {u"", kIso, u"1999/11/30 00:00:00"},
      {u"not a time", kIso, u"1999/11/30 00:00:00"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Shown(each.given, each.flags), each.shown) << ToUtf8(each.given);
  }
}

// The hour that is skipped in spring, and the one that comes twice in autumn: two records an hour apart show the same time.
TEST(RecordTimeText, ChangesOfDaylightSaving) {
  fakes::MemoryFiles files;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  zone.offsetMinutes = 60;
  zone.summerStart = TicksFromDateTime({2024, 3, 31, 1, 0, 0, 0});
  zone.summerEnd = TicksFromDateTime({2024, 10, 27, 1, 0, 0, 0});
  App_Time time(clock, zone, files);
  for (const auto& [given, shown] : {std::pair(u"20240331005959", u"03/31/2024 01:59:59 AM"),
                                     {u"20240331010000", u"03/31/2024 03:00:00 AM"},
                                     {u"20241027003000", u"10/27/2024 02:30:00 AM"},
                                     {u"20241027013000", u"10/27/2024 02:30:00 AM"}}) {
    EXPECT_EQ(RecordTimeText(time, given, {}), shown);
  }
}

TEST(JsonRecord, TheSevenValuesAreKeptAndTheRestCostsNoMemory) {
  std::string zeros = "0";
  for (int i = 0; i < 200'000; ++i) zeros += ",0";
  const std::string line = R"({"EventCode": 6, "Message": ["a"], "x": {"Logfile": 8, "y": [)" + zeros +
                           R"(]}, "EventCode": 7, "Type": "\u00fc\u001b\u007f\u0085\u202e"})";
  RawRecord record;
  std::string reason;
  const std::uint64_t before = AllocatedBytes();
  ASSERT_TRUE(ParseJsonRecord(line, record, reason));
  EXPECT_LT(AllocatedBytes() - before, 10'000u);
  EXPECT_EQ(RawText(record.eventCode), u"7") << "the last one counts";
  EXPECT_EQ(RawText(record.logfile), u"") << "of the outermost object alone";
  EXPECT_EQ(RawText(record.message), u"Object");
  const std::string again = RecordJson(ToEventRecord(record));
  EXPECT_NE(again.find(R"("Type":"\u00fc\u001b\u007f\u0085\u202e")"), std::string::npos) << again;
  for (const auto& [bad, why] :
       {std::pair("[{}]", "not a JSON object"), {"{\"a\": 1", "not valid JSON"}, {"", "not valid JSON"}}) {
    EXPECT_FALSE(ParseJsonRecord(bad, record, reason));
    EXPECT_EQ(reason, why);
  }
}

}  // namespace
}  // namespace ovs
