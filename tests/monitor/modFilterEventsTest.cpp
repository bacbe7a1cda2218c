#include "monitor/modFilterEvents.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "platform/FileContent.h"
#include "support/AllocationCount.h"
#include "support/FakeClock.h"
#include "support/FakeMailer.h"
#include "support/FakeSystem.h"
#include "support/FakeWatcher.h"
#include "support/FaultyFiles.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

constexpr const char* kOpenRule = "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n";

// The rule engine over an application folder in memory.
class FilterTest : public ::testing::Test {
 protected:
  FilterTest() : diagnostics_(debug) {
    debug.SetEntryListener([this](TextView entry) { entries.emplace_back(entry); });
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"}) files.CreateDir(folder);
    Settings("DiskEvents=1\r\nEventEmails=1\r\n");
  }

  void Settings(const std::string& monitoring) { Put(u"Config\\Orvanta.ini", "[Monitoring]\r\n" + monitoring); }
  void Put(TextView name, const std::string& bytes) { ASSERT_TRUE(files.Write(u"C:\\App\\" + Text(name), bytes)); }
  void Rule(TextView name, const std::string& bytes) { Put(u"Config\\Rules\\" + Text(name), bytes); }

  std::string Content(TextView name) {
    std::string bytes;
    ReadFileBytes(files, u"C:\\App\\" + Text(name), bytes);
    return bytes;
  }

  // Handles one record the way the service does: with the settings read at start.
  void Handle(const EventRecord& record) { engine().FindEvents(record); }

  modFilterEvents& engine() {
    if (!engine_) {
      settings = PathsOf(u"C:\\App\\");
      ReadDisplaySettings(ini, settings);
      log = std::make_unique<EventLogFiles>(fileSystem, settings);
      engine_ =
          std::make_unique<modFilterEvents>(FilterParts{fileSystem, ini, time, mailer, *log, clock, watcher}, settings);
    }
    return *engine_;
  }

  std::size_t EntriesWith(TextView text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(entries, [&](const Text& entry) { return entry.find(text) != Text::npos; }));
  }

  App_Debug debug;
  ScopedDiagnostics diagnostics_;
  std::vector<Text> entries;
  fakes::MemoryFiles files;
  fakes::FaultyFiles faulty{files};
  fakes::FakeSystem system;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  App_FileSystem fileSystem{faulty, system};
  App_Common ini{faulty};
  App_Time time{clock, zone, faulty};
  fakes::FakeMailer mailer;
  fakes::FakeWatcher watcher;
  MonitorSettings settings;
  std::unique_ptr<EventLogFiles> log;
  std::unique_ptr<modFilterEvents> engine_;
};

EventRecord Error(Text message = u"text") {
  return {1, u"Error", u"7", u"src", std::move(message), u"System", u"20240307130509.000000-000"};
}

TEST_F(FilterTest, AMatchIsMailedAndWrittenToBothLogs) {
  Rule(u"Low Disk.DAT", kOpenRule);
  Handle(Error());
  ASSERT_EQ(mailer.mails.size(), 1u);
  EXPECT_EQ(mailer.mails[0].subject, u"Event Alert!");
  EXPECT_EQ(mailer.mails[0].body,
            u"Time: 03/07/2024 01:05:09 PM\r\nRule: Low Disk\r\nEvent Log: System\r\nEvent Type: Error (1)\r\n"
            u"Event ID: 7\r\nSource Name: src\r\nMessage: text\r\n");
  EXPECT_EQ(Content(u"EventLogs.txt"),
            "03/07/2024 01:05:09 PM\r\nRule: Low Disk\r\n"
            "Event ID: 7 / Event Type: Error (1) / Source Name: src / Event Log: System\r\nMessage: text\r\n");
  EXPECT_EQ(Content(u"EventLogs_RuleNamesOnly.txt"), "03/07/2024 01:05:09 PM  -  Low Disk\r\n");
}

TEST_F(FilterTest, EveryRuleIsTestedAndTheNamesLogKeepsALineOnce) {
  Rule(u"A.DAT", kOpenRule);
  Rule(u"B.dat", kOpenRule);
  Rule(u"notes.txt", kOpenRule);
  for (int i = 0; i < 3; ++i) Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 6u);
  EXPECT_EQ(Content(u"EventLogs_RuleNamesOnly.txt"), "03/07/2024 01:05:09 PM  -  A\r\n03/07/2024 01:05:09 PM  -  B\r\n");
}

TEST_F(FilterTest, ARecordThatMatchesNothingAllocatesNothing) {
  Settings("DiskEvents=1\r\n");
  for (int i = 0; i < 20; ++i) {
    Rule(u"Rule " + NumberText(i) + u".DAT", std::string(kOpenRule) + "[EventDetail]\r\nEventDesc=no such text " +
                                                 std::to_string(i) + "\r\nEventSource=src\r\n");
  }
  EventRecord record = Error(Text(500, u'm') + u"\u00FC");
  Handle(record);
  watcher.news = os::FolderNews::None;
  const int before = AllocationCount();
  for (int i = 0; i < 100; ++i) Handle(record);
  EXPECT_EQ(AllocationCount(), before);
}

TEST_F(FilterTest, AnEditCountsFromTheNextRecord) {
  Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 0u);
  Rule(u"A.DAT", kOpenRule);
  Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 1u);
  Settings("EventEmails=0\r\n");
  Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 1u);
  EXPECT_EQ(EntriesWith(u"DoAction Initiated"), 1u);
  files.Delete(u"C:\\App\\Config\\Rules\\A.DAT");
  Settings("EventEmails=1\r\n");
  Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 1u);
}

TEST_F(FilterTest, AClockThatIsSetBackHidesNoEditAndNoRecord) {
  watcher.canWatch = false;
  Handle(Error());
  for (const std::int64_t milliseconds : {-3'600'000, -86'400'000, 1'000'000'000, -1'000'000'000}) {
    clock.Advance(milliseconds);
    const std::size_t before = mailer.mails.size();
    Rule(u"A.DAT", kOpenRule);
    Handle(Error());
    EXPECT_EQ(mailer.mails.size(), before + 1) << milliseconds;
    files.Delete(u"C:\\App\\Config\\Rules\\A.DAT");
    clock.Advance(1000);
    Handle(Error());
    EXPECT_EQ(mailer.mails.size(), before + 1) << milliseconds;
  }
}

TEST_F(FilterTest, ADiskEventIsNeverTestedAgainstTheRules) {
  Rule(u"A.DAT", kOpenRule);
  Settings("DiskEvents=1\r\nEventEmails=1\r\nDiskEventsRuleName=Platte\r\n");
  Handle(Error(u"fake disk alert"));
  ASSERT_EQ(mailer.mails.size(), 1u);
  EXPECT_EQ(mailer.mails[0].subject, u"Disk Alert!");
  EXPECT_EQ(Content(u"EventLogs_RuleNamesOnly.txt"), "03/07/2024 01:05:09 PM  -  Platte\r\n");
  Rule(u"GlobalExclusion_EventDesc_List.txt", "Fake Disk\r\n");
  Handle(Error(u"fake disk alert"));
  EXPECT_EQ(mailer.mails.size(), 1u) << "an excluded disk event goes nowhere";
  Settings("DiskEvents=0\r\nEventEmails=1\r\n");
  files.Delete(u"C:\\App\\Config\\Rules\\GlobalExclusion_EventDesc_List.txt");
  Handle(Error(u"fake disk alert"));
  ASSERT_EQ(mailer.mails.size(), 2u);
  EXPECT_EQ(mailer.mails[1].subject, u"Event Alert!");
}

TEST_F(FilterTest, ExclusionLists) {
  struct {
    TextView list;
    const char* content;
    bool excluded;
  } const cases[] = {
      {u"EventID", "4625\r\n 7 \r\n", true},   {u"EventID", "77\r\n", false},      {u"EventID", "8\n7\n", false},
      {u"EventID", "\r\n\r\n", false},         {u"EventSource", "SRC", true},      {u"EventSource", "src2\r\n", false},
      {u"EventDesc", "nothing\r\nTEXT", true}, {u"EventDesc", "text \r\n", false}, {u"EventDesc", "", false},
      {u"EventDesc", " \r\n", false},
  };
  Rule(u"A.DAT", kOpenRule);
  for (const auto& each : cases) {
    const Text name = u"GlobalExclusion_" + Text(each.list) + u"_List.txt";
    Rule(name, each.content);
    mailer.mails.clear();
    Handle(Error());
    EXPECT_EQ(mailer.mails.empty(), each.excluded) << ToUtf8(name) << ": " << each.content;
    files.Delete(u"C:\\App\\Config\\Rules\\" + name);
  }
}

TEST_F(FilterTest, StopPhraseAndOwnCrashRaiseNothing) {
  Rule(u"A.DAT", kOpenRule);
  EventRecord crash = Error(u"The Orvanta Event Service service terminated unexpectedly. Restarting");
  crash.sourceName = u"Service Control Manager";
  Handle(crash);
  EXPECT_TRUE(mailer.mails.empty());
  EXPECT_FALSE(engine().StopPhraseSeen());
  Handle(Error(u"xx ORVANTA - STOPPING event service... xx"));
  EXPECT_TRUE(mailer.mails.empty());
  EXPECT_TRUE(engine().StopPhraseSeen());
}

TEST_F(FilterTest, AnUnusableRuleFileIsReportedOnceAndTheOthersGoOn) {
  Rule(u"Good.DAT", kOpenRule);
  Rule(u"Empty.DAT", "");
  Rule(u"Binary.DAT", std::string("\x7f"
                                  "ELF\0\0\1\0[LogFile]\nSystem=1",
                                  26));
  Rule(u"Huge.DAT", std::string(kMaxTextFileBytes + 1, 'x'));
  Rule(u"Locked.DAT", kOpenRule);
  files.CreateDir(u"C:\\App\\Config\\Rules\\Folder.DAT");
  faulty.FailPath(u"Locked.DAT", SystemErrorNumber::kSharingViolation);
  for (int i = 0; i < 3; ++i) Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 3u);
  for (const TextView name : {u"Empty.DAT", u"Binary.DAT", u"Huge.DAT", u"Locked.DAT", u"Folder.DAT"}) {
    EXPECT_EQ(EntriesWith(name), 1u) << ToUtf8(name);
  }
}

TEST_F(FilterTest, AFailingLogFileDoesNotStopTheOtherNorTheMail) {
  Rule(u"A.DAT", kOpenRule);
  faulty.FailPath(u"EventLogs.txt", SystemErrorNumber::kDiskFull);
  Handle(Error());
  EXPECT_EQ(mailer.mails.size(), 1u);
  EXPECT_EQ(Content(u"EventLogs.txt"), "");
  EXPECT_NE(Content(u"EventLogs_RuleNamesOnly.txt"), "");
  EXPECT_GE(EntriesWith(u"EventLogs.txt"), 1u);
  faulty.Heal();
  Handle(Error());
  EXPECT_NE(Content(u"EventLogs.txt"), "");
}

TEST_F(FilterTest, StrangeRecordsAreHandled) {
  Rule(u"A.DAT", kOpenRule);
  EventRecord huge = Error(Text(1 << 20, u'x') + Text(u"\0\xD800 end", 6));
  Handle(huge);
  Handle({});
  EXPECT_EQ(mailer.mails.size(), 1u);
  EXPECT_GT(Content(u"EventLogs.txt").size(), std::size_t{1} << 20);
}

TEST_F(FilterTest, AMissingRulesFolderIsTolerated) {
  files.RemoveDir(u"C:\\App\\Config\\Rules");
  Handle(Error());
  Handle(Error(u"Fake Disk Alert"));
  EXPECT_EQ(mailer.mails.size(), 1u);
}

}  // namespace
}  // namespace ovs
