#include "platform/App_Time.h"

#include <functional>

#include "support/FakeClock.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

constexpr TextView kNoDate = u"Not a date!";

class TimeTest : public PlatformTest {
 protected:
  // One hour ahead of UTC; summer time from 2024-03-31 01:00 to 2024-10-27 01:00 UTC.
  TimeTest() {
    zone.offsetMinutes = 60;
    zone.summerStart = TicksFromDateTime({2024, 3, 31, 1, 0, 0, 0});
    zone.summerEnd = TicksFromDateTime({2024, 10, 27, 1, 0, 0, 0});
    Put(u"C:\\f");
  }

  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  App_Time time{clock, zone, files};
};

TEST_F(TimeTest, DisplayForm) {
  struct {
    DateStringOptions options;
    TextView given, shown;
  } const cases[] = {
      {{}, u"2024/3/4 13:05:09", u"03/04/2024"},
      {{.bStripLeadingZeros = true, .bYearFirst = true, .bIncludeTime = true}, u"3/4/2024 13:05", u"2024/3/4 1:05 PM"},
      {{.bIncludeTime = true, .bIncludeTimeSeconds = true}, u"3/7/2024 13:05:09", u"03/07/2024 01:05:09 PM"},
      {{.bYearFirst = true, .bIncludeTime = true, .bIncludeTimeSeconds = true, .bUse24HourTime = true},
       u"3/7/2024 1:05:09 PM",
       u"2024/03/07 13:05:09"},
      {{.bIncludeTimeSeconds = true, .bUse24HourTime = true}, u"3/4/2024 13:05:09", u"03/04/2024"},
      {{.bIncludeTime = true}, u"3/4/2024", u"03/04/2024 12:00 AM"},
      {{.bReplaceNonNumericChars = true, .bIncludeTime = true}, u"3/4/2024 13:05", u"030420240105"},
      {{.bReplaceNonNumericChars = true, .sNonNumericCharReplacement = u"_", .bIncludeTime = true, .bUse24HourTime = true},
       u"3/4/2024 13:05",
       u"03_04_2024_13_05"},
      {{}, u"2/30/2024", u""}};
  for (const auto& each : cases) {
    EXPECT_EQ(time.GetDateString(each.options, each.given), each.shown) << ToUtf8(each.given);
    EXPECT_EQ(Logged(kNoDate), each.shown.empty()) << ToUtf8(each.given);
  }
  clock.Set({2024, 7, 1, 23, 30, 5, 0});
  EXPECT_EQ(time.GetDateString({.bIncludeTime = true, .bUse24HourTime = true}), u"07/02/2024 01:30");
  zone.fails = true;
  EXPECT_EQ(time.GetDateString({.bIncludeTime = true, .bUse24HourTime = true}), u"07/01/2024 23:30")
      << "without a time zone it is UTC";
}

TEST_F(TimeTest, DaylightSavingOfTheDateItself) {
  struct {
    DateTime utc, local;
  } const cases[] = {{{2024, 3, 31, 0, 59, 59, 0}, {2024, 3, 31, 1, 59, 59, 0}},
                     {{2024, 3, 31, 1, 0, 0, 0}, {2024, 3, 31, 3, 0, 0, 0}},
                     {{2024, 10, 27, 0, 59, 59, 0}, {2024, 10, 27, 2, 59, 59, 0}},
                     {{2024, 10, 27, 1, 0, 0, 0}, {2024, 10, 27, 2, 0, 0, 0}},
                     {{2024, 12, 31, 23, 0, 0, 7}, {2025, 1, 1, 0, 0, 0, 7}}};
  for (const auto& each : cases) {
    EXPECT_EQ(time.TimeUTCtoLocal(each.utc), each.local);
    const auto parts = time.DateToSystemTime(each.utc);
    ASSERT_TRUE(parts);
    const auto local = time.SystemTimeUTC_To_SystemTimeLocal(*parts);
    ASSERT_TRUE(local);
    EXPECT_EQ(time.SystemTimeToDate(*local), each.local);
  }
  EXPECT_EQ(time.TimeUTCtoLocal(u"7/1/2024 12:00"), (DateTime{2024, 7, 1, 14, 0, 0, 0}));
  EXPECT_EQ(time.DateToSystemTime({2024, 2, 29, 1, 2, 3, 4}), (SystemTime{2024, 2, 4, 29, 1, 2, 3, 4}));
  EXPECT_EQ(time.SystemTimeToDateString({2024, 2, 0, 29, 0, 2, 3, 4}, {.bIncludeTime = true}), u"02/29/2024 12:02 AM");
}

TEST_F(TimeTest, WhatIsNoDateIsReported) {
  const SystemTime bad{2023, 2, 0, 29, 0, 0, 0, 0};
  const std::function<bool()> conversions[] = {[&] { return time.TimeUTCtoLocal(u"yesterday").has_value(); },
                                               [&] { return time.TimeUTCtoLocal(std::optional<DateTime>()).has_value(); },
                                               [&] {
                                                 return time.DateToSystemTime({2024, 13, 1, 0, 0, 0, 0}).has_value();
                                               },
                                               [&] { return time.SystemTimeUTC_To_SystemTimeLocal(bad).has_value(); },
                                               [&] { return !time.SystemTimeToDateString(bad).empty(); }};
  for (const auto& convert : conversions) EXPECT_TRUE(!convert() && Logged(kNoDate));
  zone.fails = true;
  EXPECT_FALSE(time.TimeUTCtoLocal(u"7/1/2024"));
  EXPECT_TRUE(Logged(u"SystemTimeToTzSpecificLocalTime failure!"));
}

TEST_F(TimeTest, FileDatesByFileSystem) {
  const DateTime winter{2024, 1, 10, 12, 0, 0, 500};
  const DateTime summer{2024, 7, 10, 23, 30, 0, 0};
  const DateTime change{2024, 3, 31, 1, 0, 0, 0};
  // It is summer, so what a FAT disk stores was turned into UTC by two hours, whatever the date.
  clock.Set({2024, 7, 1, 12, 0, 0, 0});
  memory.SetDates(u"C:\\f", TicksFromDateTime(winter), TicksFromDateTime(summer), TicksFromDateTime(change)).Ignore();
  struct {
    TextView fileSystemName;
    bool asUtc;
    DateTime created, accessed, modified;
  } const cases[] = {{u"NTFS", true, winter, summer, change},
                     {u"NTFS", false, {2024, 1, 10, 13, 0, 0, 500}, {2024, 7, 11, 1, 30, 0, 0}, {2024, 3, 31, 3, 0, 0, 0}},
                     {u"exFAT", true, winter, summer, change},
                     {u"FAT32", false, {2024, 1, 10, 14, 0, 0, 500}, {2024, 7, 11, 1, 30, 0, 0}, {2024, 3, 31, 3, 0, 0, 0}},
                     {u"FAT", true, {2024, 1, 10, 13, 0, 0, 500}, summer, change}};
  for (const auto& each : cases) {
    memory.SetFileSystemName(each.fileSystemName);
    DateTime created, accessed, modified;
    ASSERT_TRUE(time.GetFileDates_AsDate(u"C:\\f", each.asUtc, created, accessed, modified));
    EXPECT_TRUE(created == each.created && accessed == each.accessed && modified == each.modified)
        << ToUtf8(each.fileSystemName) << each.asUtc;
    EXPECT_EQ(time.GetFileDate_FromWFAD_AsDate(FileDateType::Accessed, each.asUtc, u"\\\\?\\C:\\f"), each.accessed);
    EXPECT_EQ(time.GetFileDate_FromWFAD(FileDateType::Created, each.asUtc, u"C:\\f"), time.DateToSystemTime(each.created));
  }
  // In the hour before summer ends and the one after, local time on a FAT disk is told apart as well as can be.
  for (const DateTime& local : {DateTime{2024, 10, 27, 1, 30, 0, 0}, DateTime{2024, 10, 27, 3, 30, 0, 0}}) {
    memory.SetDates(u"C:\\f", 0, 0, TicksFromDateTime(local) - 2 * 3600 * kTicksPerSecond).Ignore();
    const auto utc = time.GetFileDate_FromWFAD_AsDate(FileDateType::Modified, true, u"C:\\f");
    EXPECT_EQ(time.TimeUTCtoLocal(utc), local);
  }
  DateTime unused;
  for (const TextView path : {u"C:\\none", u"C:\\no\\f"}) {
    EXPECT_FALSE(time.GetFileDates_AsDate(path, true, unused, unused, unused));
    EXPECT_TRUE(Logged(u"Cannot determine file date!"));
    EXPECT_FALSE(time.GetFileDate_FromWFAD(FileDateType::Modified, true, path));
    EXPECT_TRUE(Logged(u"Cannot determine file date!"));
  }
}

}  // namespace
}  // namespace ovs
