#include "monitor/EventLogFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "diag/App_Debug.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

constexpr TextView kLogPaths[] = {u"C:\\App\\EventLogs.txt", u"C:\\App\\EventLogs_RuleNamesOnly.txt"};

class EventLogFilesTest : public ::testing::Test {
 protected:
  EventLogFilesTest() : scoped_(debug) {
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { said.append(entry); });
    Begin();
  }
  void Begin() {
    log.reset();
    for (const TextView path : kLogPaths) folder.disk.Delete(path).Ignore();
    said.clear();
    log = std::make_unique<EventLogFiles>(folder.modules.fileSystem, folder.clock, PathsOf(u"C:\\App\\"));
  }
  void Raise(char name, Text message = {}) {
    const Text rule(1, static_cast<char16_t>(name));
    log->OnAlert({.ruleName = rule, .record = ErrorRecord(std::move(message)), .timeText = u"T"});
  }
  // The names of the alerts in one of the logs, in their order; all else about them is known.
  std::string Names(TextView path) {
    const std::string content = folder.Content(path);
    const std::string mark = path == kLogPaths[0] ? "\r\nRule: " : "T  -  ";
    std::string names;
    for (std::size_t at = content.find(mark); at != content.npos; at = content.find(mark, at + 1)) {
      names += content[at + mark.size()];
    }
    return names;
  }
  bool Said(TextView text) const { return said.find(text) != Text::npos; }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  Text said;
  MonitorFolder folder;
  std::unique_ptr<EventLogFiles> log;
};

// Step by step: a digit is an alert of that name, x keeps one of the logs for another program, o gives it back, + lets a
// second pass, t has the logs tended, . ends them.
TEST_F(EventLogFilesTest, EntriesWaitInTheirOrderAndAreFlushedOnceASecond) {
  const struct {
    const char* steps;
    const char* written;
    std::ptrdiff_t flushes;
    std::uint64_t unwritten = 0;
  } cases[] = {{"1", "1", 1},       {"12t", "12", 1},    {"12+t", "12", 2},          {"12+t+t", "12", 2},
               {"1+2", "12", 2},    {"12.", "12", 2},    {"x1", "", 0, 1},           {"x1o2", "12", 0},
               {"x12ot", "", 0, 2}, {"x12o+t", "12", 1}, {"1x2+t3+to+4", "1234", 2}, {"1x2+t3+to+t", "123", 2},
               {"x12o.", "12", 1},  {"x12.", "", 0, 2}};
  for (std::size_t held = 0; held < 2; ++held) {
    for (const auto& each : cases) {
      Begin();
      const std::size_t flushed = folder.disk.Flushed().size();
      std::string raised;
      std::uint64_t unwritten = 0;
      for (const char step : std::string(each.steps)) {
        if (step >= '0' && step <= '9') {
          raised += step;
          Raise(step);
        }
        if (step == 'x') folder.files.FailPath(kLogPaths[held], SystemError::kDiskFull);
        if (step == 'o') folder.files.Heal();
        if (step == '+') folder.clock.Advance(EventLogFiles::kTendMilliseconds);
        if (step == 't') log->Tend();
        if (step == '.') log.reset();
        if (log) unwritten = log->Unwritten();
      }
      EXPECT_EQ(unwritten != 0, each.unwritten != 0 || std::string(each.steps).ends_with("o.")) << each.steps;
      EXPECT_EQ(Names(kLogPaths[held]), each.written) << each.steps;
      EXPECT_EQ(Names(kLogPaths[1 - held]), raised) << each.steps << ": the other log";
      const auto flushes = std::count(folder.disk.Flushed().begin() + static_cast<std::ptrdiff_t>(flushed),
                                      folder.disk.Flushed().end(), kLogPaths[held]);
      EXPECT_EQ(flushes, each.flushes) << each.steps;
      EXPECT_EQ(Said(u"Entries that could not be written to [" + Text(kLogPaths[held]) + u"]: 2"),
                !log && each.unwritten == 2);
      folder.files.Heal();
    }
  }
}

// Each entry has 2 MB in memory.
TEST_F(EventLogFilesTest, TheOldestOfFourMegabytesGiveWayAndAreCounted) {
  const Text message((1u << 20) - 200, u'm');
  folder.files.FailPath(kLogPaths[0], SystemError::kSharingViolation);
  for (const char name : {'1', '2', '3', '4', '5'}) Raise(name, message);
  EXPECT_TRUE(Said(u"the oldest give way: [C:\\App\\EventLogs.txt]"));
  folder.files.Heal();
  Raise('6');
  EXPECT_EQ(Names(kLogPaths[0]), "456");
  EXPECT_EQ(Names(kLogPaths[1]), "123456");
  EXPECT_TRUE(Said(u"entries that had to wait: 5, of these given up: 3"));
  EXPECT_EQ(log->Unwritten(), 3u);
  folder.files.FailPath(kLogPaths[0], SystemError::kDiskFull);
  Raise('7', Text(std::size_t{3} << 20, u'm'));
  folder.files.Heal();
  Raise('8');
  EXPECT_EQ(Names(kLogPaths[0]), "45678") << "one that is larger alone";
}

// A disk that cannot be flushed is said once.
TEST_F(EventLogFilesTest, AFlushThatFails) {
  folder.disk.flushError = SystemError::kNotSupported;
  for (int i = 0; i < 3; ++i) {
    folder.clock.Advance(EventLogFiles::kTendMilliseconds);
    Raise('1');
  }
  const TextView line = u"Cannot flush file [C:\\App\\EventLogs.txt]";
  EXPECT_EQ(said.find(line), said.rfind(line));
  EXPECT_TRUE(Said(line));
}

}  // namespace
}  // namespace ovs
