#include "events/RecordTime.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "support/FakeClock.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

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

}  // namespace
}  // namespace ovs
