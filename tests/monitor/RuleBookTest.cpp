#include "monitor/RuleBook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <random>
#include <sstream>
#include <thread>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "monitor/Rule.h"
#include "platform/App_FilePath.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

std::string RuleWith(const std::string& text) {
  return "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n[EventDetail]\r\nEventDesc=" + text + "\r\n";
}

EventRecord RecordWith(TextView message) {
  EventRecord record;
  record.eventType = 1;
  record.logfile = u"System";
  record.message = message;
  return record;
}

// Names of the rules, without folder and extension, that the record matches.
std::vector<Text> Matches(RuleBook& book, TextView message) {
  RuleIndex::Scratch scratch;
  book.Refresh();
  book.Find(RecordWith(message), scratch);
  std::vector<Text> names;
  for (const std::uint32_t rule : scratch.rules) names.push_back(RuleName(book.RuleAt(rule).path));
  return names;
}

using Names = std::vector<Text>;

class RuleBookTest : public ::testing::Test {
 protected:
  RuleBookTest() : scoped_(debug) { folder.Rule(u"A.DAT", RuleWith("alpha")); }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  MonitorFolder folder;
  RuleBook book{folder.BookParts(), PathsOf(u"C:\\App\\")};
};

TEST_F(RuleBookTest, NewsCountAtOnceTheRestAfterTheWindow) {
  EXPECT_EQ(Matches(book, u"alpha beta"), Names{u"A"});
  folder.watcher.news = os::FolderNews::None;
  folder.Rule(u"B.dat", RuleWith("beta"));
  folder.Monitoring("DiskEvents=1\r\n");
  const std::uint64_t calls = folder.files.Calls();
  folder.clock.Advance(49);
  EXPECT_EQ(Matches(book, u"alpha beta"), Names{u"A"}) << "nothing told of the new file";
  EXPECT_EQ(folder.files.Calls(), calls) << "within the window no file is looked at";
  folder.clock.Advance(1);
  EXPECT_EQ(Matches(book, u"alpha beta"), (Names{u"A", u"B"}));
  EXPECT_TRUE(book.DiskEventsOn());
  for (const os::FolderNews news : {os::FolderNews::Changed, os::FolderNews::Lost}) {
    folder.Rule(u"B.dat", RuleWith(news == os::FolderNews::Lost ? "beta" : "gamma"));
    folder.watcher.news = news;
    EXPECT_EQ(Matches(book, u"beta").size(), news == os::FolderNews::Lost ? 1u : 0u);
  }
}

TEST_F(RuleBookTest, RefusedFilesComeBackAndProblemsTellOfThemMeanwhile) {
  folder.files.FailPath(u"A.DAT", SystemError::kSharingViolation);
  EXPECT_EQ(Matches(book, u"alpha"), Names{});
  ASSERT_EQ(book.Problems().size(), 1u);
  EXPECT_TRUE(book.Problems()[0].Sentence().starts_with(u"Cannot use rule file [C:\\App\\Config\\Rules\\A.DAT]: "));
  folder.files.Heal();
  folder.watcher.news = os::FolderNews::None;
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"}) << "tried again without news and before the window";
  folder.watcher.news = os::FolderNews::Changed;
  folder.files.FailPath(u"Rules", SystemError::kAccessDenied);
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"}) << "a folder that cannot be listed leaves what is known";
  ASSERT_EQ(book.Problems().size(), 1u);
  EXPECT_EQ(book.Problems()[0].kind, FileKind::RulesFolder);
  folder.files.Heal();
  Matches(book, u"");
  EXPECT_TRUE(book.Problems().empty());
}

TEST_F(RuleBookTest, AYoungFileIsReadAgainThoughNothingButItsContentTells) {
  os::FileInfo info;
  ASSERT_TRUE(folder.disk.Info(folder.PathOfRule(u"A.DAT"), info).Ok());
  folder.clock.now = info.modified + kTicksPerSecond;
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"});
  folder.disk.WriteInTheSameTick(folder.PathOfRule(u"A.DAT"), RuleWith("gamma"));
  EXPECT_EQ(Matches(book, u"gamma"), Names{u"A"});
  folder.clock.Advance(60'000);
  Matches(book, u"");
  folder.disk.WriteInTheSameTick(folder.PathOfRule(u"A.DAT"), RuleWith("alpha"));
  EXPECT_EQ(Matches(book, u"gamma"), Names{u"A"}) << "one that is old is not";
}

TEST_F(RuleBookTest, AThousandRulesTakeLittleMemory) {
  constexpr int kRules = 1000;
  for (int i = 0; i < kRules; ++i) {
    folder.Rule(
        u"Rule " + NumberText(i) + u".DAT",
        RuleWith("a text of some forty characters, number " + std::to_string(i)) + "[Note]\r\n" + std::string(200, 'n'));
  }
  Matches(book, u"");
  EXPECT_EQ(book.RuleCount(), kRules + 1u);
  EXPECT_LE(book.MemoryInUse(), kRules * 4096u);
}

// Calls in a row, each made of the clock's time, the news (n none, s slow, e exact), the step to come (. nothing, ? ask for
// news, L look at all) and, of a look that takes time, how long it takes; "!" when part of it is refused.
TEST(RuleTiming, LooksNewsAndRetries) {
  struct {
    const char* what;
    const char* calls;
  } const runs[] = {
      {"a window of 50 ms at least", "0nL 49n. 50nL"},
      {"exact news with every record, slow ones once a tick", "0eL 1e? 1e? 2s? 2s. 3s?"},
      {"ten times the cost, from its end on", "0nL20 219n. 220nL"},
      {"a second at most", "0nL200 1199n. 1200nL90000 92199n. 92200nL"},
      {"refused three times at once, then once a window", "0nL! 0nL! 0nL! 1e? 49n. 50nL! 99n. 100nL 149n. 150nL"},
      {"a clock that is set back", "5000nL 10nL 11n."},
  };
  for (const auto& run : runs) {
    RuleTiming timing;
    std::istringstream calls(run.calls);
    std::uint64_t now = 0;
    for (char news = 0, step = 0; calls >> now >> news >> step;) {
      const auto found = timing.Next(now, news == 'n'   ? RuleTiming::News::None
                                          : news == 's' ? RuleTiming::News::Slow
                                                        : RuleTiming::News::Exact);
      ASSERT_EQ(".?L"[static_cast<int>(found)], step) << run.what << ", at " << now;
      if (step != 'L') continue;
      std::uint64_t cost = 0;
      if (std::isdigit(calls.peek()) != 0) calls >> cost;
      const bool complete = calls.peek() != '!';
      if (!complete) calls.get();
      timing.Looked(now, now + cost, complete);
    }
    EXPECT_TRUE(calls.eof()) << run.what;
  }
  RuleTiming timing;
  timing.Looked(0, 0, true);
  struct {
    std::uint64_t now;
    bool anyRefused;
    bool due;
    std::uint64_t cost = 0;
  } const retries[] = {{1, false, false},     {1, true, true},      {1, true, true},          {2, true, true, 20},
                       {22, true, false},     {221, true, false},   {222, true, true, 90000}, {91221, true, false},
                       {91222, true, true},   {91271, true, false}, {91272, true, true},      {91273, true, false},
                       {91274, false, false}, {91274, true, true}};
  for (const auto& each : retries) {
    EXPECT_EQ(timing.RetryIsDue(each.now, each.anyRefused), each.due) << each.now;
    if (each.due) timing.Retried(each.now, each.now + each.cost);
  }
  timing.LookAgain();
  EXPECT_EQ(timing.Next(91275, RuleTiming::News::None), RuleTiming::Step::LookAtAll);
}

// Real time for the files' ages, a clock of the test's own for the window.
class TestClock final : public os::Clock {
 public:
  os::FileTicks UtcNow() override { return os::SystemClock().UtcNow(); }
  std::uint64_t Milliseconds() override { return milliseconds; }
  std::uint64_t milliseconds = 1;
};

// The same over the machine's own files and news.
class RealRuleBookTest : public ::testing::Test {
 protected:
  RealRuleBookTest() : scoped_(debug) {
    Text temp;
    files.TempFolder(temp).Ignore();
    root = App_FilePath::JoinPath(temp, u"ovs book " + NumberText(os::ThisSystem().ProcessId()) + u"\\");
    settings = PathsOf(root);
    std::uint32_t reason = 0;
    EXPECT_TRUE(fileSystem.EnsureDirExists(settings.rulesFolder, reason)) << reason;
    book = std::make_unique<RuleBook>(
        RuleBookParts{.fileSystem = fileSystem, .ini = ini, .clock = clock, .watcher = os::SystemFolderWatcher()}, settings);
  }
  ~RealRuleBookTest() override {
    book.reset();
    fileSystem.DeleteFilesInPath(settings.rulesFolder, u"*");
    for (const Text& folder : {settings.rulesFolder, root + u"Config", root}) files.RemoveDir(folder).Ignore();
  }

  Text Path(TextView name) const { return settings.rulesFolder + u"\\" + Text(name); }

  // One of the ways in which editors save: into the file, beside it and renamed over it, or anew.
  void Edit(int style, TextView name, const std::string& content) {
    if (style == 0) {
      ASSERT_TRUE(files.Write(Path(name), content).Ok());
    } else if (style == 1) {
      ASSERT_TRUE(files.Write(Path(u"new.tmp"), content).Ok());
      ASSERT_TRUE(files.Rename(Path(u"new.tmp"), Path(name)).Ok());
    } else {
      files.Delete(Path(name)).Ignore();
      std::unique_ptr<os::AppendFile> file;
      ASSERT_TRUE(files.OpenAppend(Path(name), file).Ok() && file->Append(content).Ok());
    }
  }
  // Makes every edit count: does nothing where news are exact, passes a time longer than the window elsewhere.
  void Pause() {
    if (!os::SystemFolderWatcher().IsExact()) clock.milliseconds += 60'000;
  }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  os::Files& files = os::SystemFiles();
  App_FileSystem fileSystem{files, os::ThisSystem()};
  App_Common ini{files};
  Text root;
  MonitorSettings settings;
  TestClock clock;
  std::unique_ptr<RuleBook> book;
};

// The contents have the same length, and edits come faster than a file system's clock ticks.
TEST_F(RealRuleBookTest, EachRecordSeesEveryEditThatWasCompleteBefore) {
  std::mt19937 random(6);
  std::vector<int> version(8, -1);  // of each rule file; -1 none
  Text excluded = u"nothing";
  for (int i = 0; i < 200; ++i) {
    if (random() % 6 == 0) {
      excluded = u"word " + NumberText(100 + i);
      Edit(static_cast<int>(random() % 3), u"GlobalExclusion_EventDesc_List.txt", ToUtf8(excluded));
    }
    const std::size_t file = random() % version.size();
    const Text name = u"Rule " + NumberText(static_cast<std::int64_t>(file)) + u".DAT";
    if (random() % 5 == 0) {
      files.Delete(Path(name)).Ignore();
      version[file] = -1;
    } else {
      version[file] = 100 + i;
      Edit(static_cast<int>(random() % 3), name, RuleWith("version " + std::to_string(version[file])));
    }
    Pause();
    Names expected;
    Text message;
    for (std::size_t k = 0; k < version.size(); ++k) {
      if (version[k] < 0) continue;
      expected.push_back(u"Rule " + NumberText(static_cast<std::int64_t>(k)));
      message += u"version " + NumberText(version[k]) + u" ";
    }
    Names found = Matches(*book, message);
    std::ranges::sort(found);
    ASSERT_EQ(found, expected) << "after edit " << i;
    ASSERT_EQ(book->Exclusions().CheckGlobalEventDescEx(u"with " + excluded), excluded != u"nothing") << i;
    ASSERT_FALSE(book->Exclusions().CheckGlobalEventDescEx(u"with word 99"));
  }
}

// A folder that is put in another's place, as tools that roll out rules do.
TEST_F(RealRuleBookTest, AFolderPutInPlaceCountsAfterTheWindow) {
  Edit(0, u"A.DAT", RuleWith("alpha"));
  EXPECT_EQ(Matches(*book, u"alpha beta"), Names{u"A"});
  ASSERT_TRUE(files.Rename(settings.rulesFolder, settings.rulesFolder + u" old").Ok());
  std::uint32_t reason = 0;
  ASSERT_TRUE(fileSystem.EnsureDirExists(settings.rulesFolder, reason));
  Edit(0, u"B.DAT", RuleWith("beta"));
  clock.milliseconds += 60'000;
  EXPECT_EQ(Matches(*book, u"alpha beta"), Names{u"B"});
  Edit(0, u"C.DAT", RuleWith("beta"));
  Pause();
  EXPECT_EQ(Matches(*book, u"alpha beta"), (Names{u"B", u"C"}));
  files.Delete(settings.rulesFolder + u" old\\A.DAT").Ignore();
  files.RemoveDir(settings.rulesFolder + u" old").Ignore();
}

// A writer edits all the time while records flow. A record that began after an edit was complete, and ended before the next
// one began, must see it; and at no moment may the rule be gone for a record that saw no edit begin.
TEST_F(RealRuleBookTest, RecordsFlowWhileRulesAreEdited) {
  if (!os::SystemFolderWatcher().IsExact()) GTEST_SKIP() << "news are not exact here";
  std::atomic<int> checked{0};  // records so far
  std::atomic<int> begun{0};
  std::atomic<int> complete{0};
  Edit(0, u"A.DAT", RuleWith("version 0 "));
  std::thread writer([&] {
    for (int i = 1; i <= 150; ++i) {
      begun = i;
      Edit(i % 3, u"A.DAT", RuleWith("version " + std::to_string(i) + "."));
      complete = i;
      for (int seen = checked.load(); checked.load() < seen + 2;) std::this_thread::yield();
    }
  });
  int judged = 0;
  for (bool more = true; more;) {
    more = complete.load() < 150;
    const int before = complete.load();
    const bool matched = !Matches(*book, u"version " + NumberText(before) + u".").empty();
    ++checked;
    if (begun.load() != before || before == 0) continue;
    ++judged;
    EXPECT_TRUE(matched) << before;
  }
  writer.join();
  EXPECT_GT(judged, 50);
}

}  // namespace
}  // namespace ovs
