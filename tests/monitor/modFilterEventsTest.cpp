#include "monitor/modFilterEvents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "support/AllocationCount.h"
#include "support/FakeMailer.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

// The rule engine as the service composes it.
class FilterTest : public ::testing::Test {
 protected:
  FilterTest() : diagnostics_(debug) {
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { entries.emplace_back(entry); });
    folder.Monitoring("DiskEvents=1\r\nEventEmails=1\r\n");
  }

  // The engine starts with the first record.
  void Handle(const EventRecord& record) { engine().Handle(record); }
  ServiceEngine& engine() {
    if (!engine_) engine_ = std::make_unique<ServiceEngine>(folder, mailer);
    return *engine_;
  }
  std::size_t EntriesWith(TextView text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(entries, [&](const Text& entry) { return entry.find(text) != Text::npos; }));
  }

  App_Debug debug;
  ScopedDiagnostics diagnostics_;
  std::vector<Text> entries;
  MonitorFolder folder;
  fakes::FakeMailer mailer;
  std::unique_ptr<ServiceEngine> engine_;
};

// A rule's alert and a disk alert, each mailed and written to both logs. Local time is an hour ahead.
TEST_F(FilterTest, BothKindsOfAlertsHaveTheirFormAndTheTimeThatTheFlagsSay) {
  folder.realZone.offsetMinutes = 60;
  folder.Rule(u"Low Disk.DAT", kOpenRule);
  const struct {
    const char* flags;
    const char* time;
  } cases[] = {
      {"", "03/07/2024 02:05:09 PM"},
      {"DisplayEventLogTimesInUTC=1\r\n", "03/07/2024 01:05:09 PM"},
      {"DisplayEventLogDateYearFirst=1\r\n", "2024/03/07 02:05:09 PM"},
      {"DisplayEventLogTimeAs24Hour=1\r\n", "03/07/2024 14:05:09"},
      {"DisplayEventLogTimesInUTC=true\r\nDisplayEventLogDateYearFirst=01\r\nDisplayEventLogTimeAs24Hour=on\r\n",
       "03/07/2024 02:05:09 PM"},
  };
  for (const auto& each : cases) {
    for (const TextView log : {u"C:\\App\\EventLogs.txt", u"C:\\App\\EventLogs_RuleNamesOnly.txt"}) {
      folder.disk.Delete(log).Ignore();
    }
    mailer.mails.clear();
    engine_.reset();
    folder.Monitoring("DiskEvents=1\r\nEventEmails=1\r\nDiskEventsRuleName=Platte\r\n[Config]\r\n" +
                      std::string(each.flags));
    for (int i = 0; i < 2; ++i) Handle(ErrorRecord());
    Handle(ErrorRecord(u"fake disk alert"));
    ASSERT_EQ(mailer.mails.size(), 3u);
    EXPECT_EQ(mailer.mails[1].subject, u"Event Alert!");
    EXPECT_EQ(mailer.mails[2].subject, u"Disk Alert!");
    const std::string time = each.time;
    EXPECT_EQ(ToUtf8(mailer.mails[1].body), "Time: " + time +
                                                "\r\nRule: Low Disk\r\nEvent Log: System\r\nEvent Type: Error (1)\r\n"
                                                "Event ID: 7\r\nSource Name: src\r\nMessage: text\r\n");
    EXPECT_EQ(ToUtf8(mailer.mails[2].body), "Time: " + time +
                                                "\r\nRule: Platte\r\nEvent Log: System\r\nEvent Type: Error\r\n"
                                                "Event ID: 7\r\nSource Name: src\r\nMessage: fake disk alert\r\n");
    const std::string entry = time +
                              "\r\nRule: Low Disk\r\nEvent ID: 7 / Event Type: Error (1) / Source Name: src / Event Log: "
                              "System\r\nMessage: text\r\n";
    EXPECT_EQ(folder.Content(u"C:\\App\\EventLogs.txt"),
              entry + entry + time +
                  "\r\nRule: Platte\r\nEvent ID: 7 / Event Type: Error / Source Name: src\r\nMessage: fake disk alert\r\n");
    EXPECT_EQ(folder.Content(u"C:\\App\\EventLogs_RuleNamesOnly.txt"), time + "  -  Low Disk\r\n" + time + "  -  Platte\r\n")
        << "each line once";
  }
}

TEST_F(FilterTest, AnAlertLeavesNoMemoryBehind) {
  folder.Rule(u"A.DAT", kOpenRule);
  const auto raise = [&](int alerts) {
    for (int i = 0; i < alerts; ++i) {
      Handle(ErrorRecord());
      mailer.mails.clear();
      entries.clear();
    }
    return LiveAllocations();
  };
  const int before = raise(100);
  EXPECT_LT(raise(100) - before, 50);
}

TEST_F(FilterTest, ARecordThatMatchesNothingAllocatesNothing) {
  folder.Monitoring("DiskEvents=1\r\n");
  for (int i = 0; i < 20; ++i) {
    folder.Rule(u"Rule " + NumberText(i) + u".DAT", std::string(kOpenRule) + "[EventDetail]\r\nEventDesc=no such text " +
                                                        std::to_string(i) + "\r\nEventSource=src\r\n");
  }
  EventRecord record = ErrorRecord(Text(500, u'm') + u"\u00FC");
  Handle(record);
  folder.watcher.news = os::FolderNews::None;
  const int before = AllocationCount();
  for (int i = 0; i < 100; ++i) Handle(record);
  EXPECT_EQ(AllocationCount(), before);
}

TEST_F(FilterTest, AnEditCountsFromTheNextRecord) {
  Handle(ErrorRecord());
  EXPECT_EQ(mailer.mails.size(), 0u);
  folder.Rule(u"A.DAT", kOpenRule);
  Handle(ErrorRecord());
  EXPECT_EQ(mailer.mails.size(), 1u);
  folder.Monitoring("EventEmails=0\r\n");
  Handle(ErrorRecord());
  EXPECT_EQ(mailer.mails.size(), 1u);
  EXPECT_EQ(EntriesWith(u"DoAction Initiated"), 1u);
  folder.DeleteRule(u"A.DAT");
  folder.Monitoring("EventEmails=1\r\n");
  Handle(ErrorRecord());
  EXPECT_EQ(mailer.mails.size(), 1u);
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
  folder.Rule(u"A.DAT", kOpenRule);
  for (const auto& each : cases) {
    const Text name = u"GlobalExclusion_" + Text(each.list) + u"_List.txt";
    folder.Rule(name, each.content);
    mailer.mails.clear();
    Handle(ErrorRecord());
    EXPECT_EQ(mailer.mails.empty(), each.excluded) << ToUtf8(name) << ": " << each.content;
    folder.DeleteRule(name);
  }
  // The first of them that excludes is the one that is named.
  using Lists = GlobalExclusions;
  FileProblems problems;
  Lists lists(folder.modules.fileSystem, problems, u"C:\\App\\Config\\Rules");
  constexpr Lists::List kOrder[] = {Lists::kIds, Lists::kSources, Lists::kTexts};
  for (const auto list : kOrder) folder.Rule(Lists::FileName(list), "7\r\nsrc\r\ntext\r\n");
  for (const auto list : kOrder) {
    EXPECT_EQ(lists.ExcludedBy(u"7", u"src", u"text"), list);
    folder.DeleteRule(Lists::FileName(list));
    lists.LookAgain();
  }
}

// Nanoseconds, the best of three, of looking for the lines of a list of texts in a message.
std::int64_t TimeOfSearch(MonitorFolder& folder, const std::string& lines, TextView message) {
  folder.Rule(u"GlobalExclusion_EventDesc_List.txt", lines);
  FileProblems problems;
  GlobalExclusions lists(folder.modules.fileSystem, problems, u"C:\\App\\Config\\Rules");
  static_cast<void>(lists.CheckGlobalEventDescEx(message));
  std::int64_t best = std::numeric_limits<std::int64_t>::max();
  for (int i = 0; i < 3; ++i) {
    const auto start = std::chrono::steady_clock::now();
    static_cast<void>(lists.CheckGlobalEventDescEx(message));
    best = std::min<std::int64_t>(best, (std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

// Each line by itself would take thousands of times as long.
TEST_F(FilterTest, TheNumberOfShortLinesInAListDoesNotCount) {
  const Text message(30'000, u'a');
  for (const bool same : {false, true}) {
    std::string lines;
    for (char16_t i = 0; i < 20'000; ++i) {
      lines += (same ? std::string("aaaa") : ToUtf8(Text{static_cast<char16_t>(0x4000 + i)})) + "\r\n";
    }
    const std::int64_t one = TimeOfSearch(folder, lines.substr(0, lines.find('\r')), message);
    EXPECT_LT(TimeOfSearch(folder, lines, message), one * 100) << same;
  }
}

TEST_F(FilterTest, AnUnusableRuleFileIsReportedOnceAndTheOthersGoOn) {
  folder.Rule(u"Good.DAT", kOpenRule);
  folder.Rule(u"Empty.DAT", "");
  folder.Rule(u"Binary.DAT", std::string("\0[LogFile]\nSystem=1", 19));
  folder.Rule(u"Huge.DAT", std::string(kMaxTextFileBytes + 1, 'x'));
  folder.Rule(u"Locked.DAT", kOpenRule);
  folder.disk.CreateDir(folder.PathOfRule(u"Folder.DAT")).Ignore();
  folder.files.FailPath(u"Locked.DAT", SystemError::kSharingViolation);
  for (int i = 0; i < 3; ++i) Handle(ErrorRecord());
  EXPECT_EQ(mailer.mails.size(), 3u);
  mailer.mails.clear();
  for (const TextView name : {u"Empty.DAT", u"Binary.DAT", u"Huge.DAT", u"Locked.DAT", u"Folder.DAT"}) {
    EXPECT_EQ(EntriesWith(name), 1u) << ToUtf8(name);
  }
  EXPECT_EQ(engine().Filter().Problems().size(), 5u);
  const FileProblem none{FileKind::RuleFile, u"C:\\App\\Config\\Rules\\Empty.DAT",
                         u"it has no section [LogFile], so it can never match"};
  EXPECT_EQ(std::ranges::count(engine().Filter().Problems(), none), 1);
  folder.files.Heal();
  for (const TextView name : {u"Empty.DAT", u"Binary.DAT", u"Huge.DAT"}) folder.DeleteRule(name);
  EXPECT_EQ(engine().Filter().Problems().size(), 1u) << "the folder is left";
  EXPECT_EQ(EntriesWith(u"Can use settings file [C:\\App\\Config\\Rules\\Locked.DAT] again"), 1u);
  folder.files.FailPath(u"Config\\Rules", SystemError::kPathNotFound);
  for (int i = 0; i < 3; ++i) Handle(ErrorRecord());
  EXPECT_EQ(EntriesWith(u"Path does not exist!"), 1u);
  folder.files.Heal();
  for (int i = 0; i < 3; ++i) Handle(ErrorRecord());
  EXPECT_EQ(EntriesWith(u"Can list rules folder"), 1u);
}

TEST_F(FilterTest, StrangeRecordsAreHandled) {
  folder.Rule(u"A.DAT", kOpenRule);
  EventRecord huge = ErrorRecord(Text(1 << 20, u'x') + Text(u"\0\xD800 end", 6));
  Handle(huge);
  Handle({});
  EXPECT_EQ(mailer.mails.size(), 1u);
  EXPECT_GT(folder.Content(u"C:\\App\\EventLogs.txt").size(), std::size_t{1} << 20);
}

}  // namespace
}  // namespace ovs
