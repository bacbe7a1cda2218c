// What the ports System, PeriodTimer, Clock and TimeZone promise, asked of the machine's own.
#include <gtest/gtest.h>

#include <cstdlib>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "os/Clock.h"
#include "os/System.h"

namespace ovs {
namespace {

TEST(SystemContract, MessageTexts) {
  struct {
    std::uint32_t number;
    TextView word;
  } const cases[] = {{0, u"success"}, {2, u"file"}, {5, u"denied"}, {145, u"empty"}, {234, u"more data"}};
  for (const auto& each : cases) {
    const auto text = os::ThisSystem().MessageText(each.number);
    ASSERT_TRUE(text) << each.number;
    EXPECT_TRUE(ContainsFolded(*text, each.word)) << ToUtf8(*text);
  }
  for (const std::uint32_t number : {0x2FFFFFFFu, 0xFFFFFFFFu}) EXPECT_FALSE(os::ThisSystem().MessageText(number)) << number;
}

TEST(SystemContract, FactsOfTheProcess) {
  os::System& system = os::ThisSystem();
  const Text path = system.EnvironmentVariable(u"PATH");
  EXPECT_FALSE(path.empty());
  EXPECT_EQ(system.EnvironmentVariable(u"path"), path);
  EXPECT_EQ(system.EnvironmentVariable(u"OVS_NO_SUCH_VARIABLE"), u"");
  EXPECT_EQ(system.EnvironmentVariable(u""), u"");
  const Text program = system.ProgramPath();
  EXPECT_EQ(program.substr(1, 2), u":\\");
  EXPECT_TRUE(ContainsFolded(program.substr(program.rfind(u'\\')), u"os_tests")) << ToUtf8(program);
  EXPECT_NE(system.ProcessId(), 0u);
  EXPECT_FALSE(system.ComputerName().empty());
  EXPECT_LE(system.ComputerName().size(), 15u);
  EXPECT_FALSE(system.UserName().empty());
  EXPECT_TRUE(ContainsFolded(system.OsVersion(), u".")) << ToUtf8(system.OsVersion());
  EXPECT_GT(system.MemoryInUse(), 1u << 18);
  bool seenV6 = false;
  for (const Text& address : system.LanAddresses()) {
    const bool isV6 = address.find(u':') != Text::npos;
    EXPECT_TRUE(isV6 || !seenV6) << ToUtf8(address);
    EXPECT_NE(address, u"127.0.0.1");
    seenV6 = seenV6 || isV6;
  }
}

TEST(ClockContract, MovesAndIsSane) {
  os::Clock& clock = os::SystemClock();
  const os::FileTicks now = clock.UtcNow();
  EXPECT_GT(now, TicksFromDateTime({.year = 2024}));
  EXPECT_LT(now, TicksFromDateTime({.year = 2200}));
  const std::uint64_t start = clock.Milliseconds();
  const std::uint32_t timerStart = os::SystemPeriodTimer().Now();
  constexpr std::uint64_t kMostTries = 1'000'000'000;
  std::uint64_t tries = 0;
  while (clock.Milliseconds() == start && tries < kMostTries) ++tries;
  EXPECT_GT(clock.Milliseconds(), start);
  EXPECT_GE(clock.UtcNow(), now);
  EXPECT_LT(clock.UtcNow() - now, 60 * kTicksPerSecond);
  EXPECT_LT(os::SystemPeriodTimer().Now() - timerStart, 60'000u);
}

TEST(TimeZoneContract, ConvertsWholeQuartersAndRefusesNonsense) {
  os::TimeZone& zone = os::SystemTimeZone();
  for (const DateTime& utc : {DateTime{2024, 3, 7, 13, 5, 9, 123}, DateTime{2024, 7, 1, 23, 59, 59, 999},
                              DateTime{2023, 12, 31, 23, 30, 0, 0}, DateTime{9000, 2, 28, 12, 0, 0, 1}}) {
    DateTime local;
    ASSERT_TRUE(zone.ToLocal(utc, local).Ok()) << utc.year;
    const std::int64_t minutes = (TicksFromDateTime(local) - TicksFromDateTime(utc)) / (60 * kTicksPerSecond);
    EXPECT_EQ(TicksFromDateTime(utc) + minutes * 60 * kTicksPerSecond, TicksFromDateTime(local));
    EXPECT_LE(std::abs(minutes), 14 * 60);
    EXPECT_EQ(minutes % 15, 0);
  }
  for (const DateTime& utc :
       {DateTime{1600, 12, 30, 0, 0, 0, 0}, DateTime{30828, 1, 2, 0, 0, 0, 0}, DateTime{2023, 2, 29, 0, 0, 0, 0},
        DateTime{2024, 13, 1, 0, 0, 0, 0}, DateTime{2024, 1, 1, 24, 0, 0, 0}, DateTime{2024, 1, -1, 0, 0, 0, 0}}) {
    DateTime local{1999, 9, 9, 9, 9, 9, 9};
    EXPECT_FALSE(zone.ToLocal(utc, local).Ok()) << utc.year << "-" << utc.month << "-" << utc.day;
    EXPECT_EQ(local.year, 1999);
  }
}

TEST(PeriodTimerContract, TakesThePeriodsItNames) {
  os::PeriodTimer& timer = os::SystemPeriodTimer();
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  ASSERT_TRUE(timer.Periods(low, high).Ok());
  EXPECT_GE(low, 1u);
  EXPECT_LE(low, high);
  EXPECT_TRUE(timer.Begin(low).Ok() && timer.End(low).Ok());
  EXPECT_FALSE(timer.Begin(low - 1).Ok());
}

}  // namespace
}  // namespace ovs
