#include "monitor/RuleBook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

#include "base/Numbers.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"
#include "support/FakeClock.h"
#include "support/FakeWatcher.h"
#include "support/PlatformTest.h"

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

class RuleBookTest : public PlatformTest {
 protected:
  RuleBookTest() {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"}) memory.CreateDir(folder);
    Put(u"C:\\App\\Config\\Rules\\A.DAT", RuleWith("alpha"));
  }

  const MonitorSettings settings = PathsOf(u"C:\\App\\");
  fakes::FakeClock clock;
  fakes::FakeWatcher watcher;
  App_Common ini{files};
  FileProblems problems;
  GlobalExclusions exclusions{fileSystem, problems, settings.rulesFolder};
  RuleBook book{{files, watcher, clock, ini, problems, exclusions}, settings};
};

TEST_F(RuleBookTest, NewsCountAtOnceTheRestAfterTheWindow) {
  EXPECT_EQ(Matches(book, u"alpha beta"), Names{u"A"});
  watcher.news = os::FolderNews::None;
  Put(u"C:\\App\\Config\\Rules\\B.dat", RuleWith("beta"));
  Put(u"C:\\App\\Config\\Orvanta.ini", "[Monitoring]\r\nDiskEvents=1\r\n");
  const std::uint64_t calls = files.Calls();
  clock.Advance(49);
  EXPECT_EQ(Matches(book, u"alpha beta"), Names{u"A"}) << "nothing told of the new file";
  EXPECT_EQ(files.Calls(), calls) << "within the window no file is looked at";
  clock.Advance(1);
  EXPECT_EQ(Matches(book, u"alpha beta"), (Names{u"A", u"B"}));
  EXPECT_TRUE(book.DiskEventsOn());
  for (const os::FolderNews news : {os::FolderNews::Changed, os::FolderNews::Lost}) {
    memory.Delete(u"C:\\App\\Config\\Rules\\B.dat");
    watcher.news = news;
    EXPECT_EQ(Matches(book, u"alpha beta"), Names{u"A"});
    Put(u"C:\\App\\Config\\Rules\\B.dat", RuleWith("beta"));
    EXPECT_EQ(Matches(book, u"alpha beta"), (Names{u"A", u"B"}));
  }
}

TEST_F(RuleBookTest, CostlyNewsAreAskedForOnceATick) {
  watcher.exact = false;
  watcher.news = os::FolderNews::None;
  Matches(book, u"");
  const int asked = watcher.asked;
  for (int i = 0; i < 100; ++i) Matches(book, u"");
  EXPECT_LE(watcher.asked, asked + 2);
  clock.Advance(1);
  for (int i = 0; i < 100; ++i) Matches(book, u"");
  EXPECT_LE(watcher.asked, asked + 4);
}

TEST_F(RuleBookTest, FilesThatAreRefusedComeBackAndNoRuleIsLostMeanwhile) {
  files.FailPath(u"A.DAT", SystemErrorNumber::kSharingViolation);
  EXPECT_EQ(Matches(book, u"alpha"), Names{});
  files.Heal();
  watcher.news = os::FolderNews::None;
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"}) << "tried again without news and before the window";
  files.FailPath(u"A.DAT", SystemErrorNumber::kSharingViolation);
  memory.Delete(u"C:\\App\\Config\\Rules\\A.DAT");
  Put(u"C:\\App\\Config\\Rules\\A.DAT", RuleWith("alpha"));
  clock.Advance(50);
  for (int i = 0; i < 5; ++i) Matches(book, u"alpha");
  const std::uint64_t calls = files.Calls();
  for (int i = 0; i < 100; ++i) Matches(book, u"alpha");
  EXPECT_EQ(files.Calls(), calls) << "what stays refused is not asked for with every record";
  files.Heal();
  clock.Advance(50);
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"});
  watcher.news = os::FolderNews::Changed;
  files.FailPath(u"Rules", SystemErrorNumber::kAccessDenied);
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"}) << "a folder that cannot be listed leaves what is known";
  EXPECT_TRUE(Logged(u"Cannot list rules folder"));
  files.Heal();
  memory.Delete(u"C:\\App\\Config\\Rules\\A.DAT");
  memory.RemoveDir(u"C:\\App\\Config\\Rules");
  EXPECT_EQ(Matches(book, u"alpha"), Names{});
  memory.CreateDir(u"C:\\App\\Config\\Rules");
  Put(u"C:\\App\\Config\\Rules\\A.DAT", RuleWith("alpha"));
  EXPECT_EQ(Matches(book, u"alpha"), Names{u"A"});
}

TEST_F(RuleBookTest, AThousandRulesTakeLittleMemory) {
  constexpr int kRules = 1000;
  for (int i = 0; i < kRules; ++i) {
    Put(u"C:\\App\\Config\\Rules\\Rule " + NumberText(i) + u".DAT",
        RuleWith("a text of some forty characters, number " + std::to_string(i)) + "[Note]\r\n" + std::string(200, 'n'));
  }
  Matches(book, u"");
  EXPECT_EQ(book.RuleCount(), kRules + 1u);
  EXPECT_LE(book.MemoryInUse(), kRules * 4096u);
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
    files.TempFolder(temp);
    root = App_FilePath::JoinPath(temp, u"ovs book " + NumberText(os::ThisSystem().ProcessId()) + u"\\");
    settings = PathsOf(root);
    std::uint32_t reason = 0;
    EXPECT_TRUE(fileSystem.EnsureDirExists(settings.rulesFolder, reason)) << reason;
    exclusions = std::make_unique<GlobalExclusions>(fileSystem, problems, settings.rulesFolder);
    book = std::make_unique<RuleBook>(RuleBookParts{files, os::SystemFolderWatcher(), clock, ini, problems, *exclusions},
                                      settings);
  }
  ~RealRuleBookTest() override {
    book.reset();
    fileSystem.DeleteFilesInPath(settings.rulesFolder, u"*");
    for (const Text& folder : {settings.rulesFolder, root + u"Config", root}) files.RemoveDir(folder);
  }

  Text Path(TextView name) const { return settings.rulesFolder + u"\\" + Text(name); }

  // One of the ways in which editors save: into the file, beside it and renamed over it, or anew.
  void Edit(int style, TextView name, const std::string& content) {
    if (style == 0) {
      ASSERT_TRUE(files.Write(Path(name), content));
    } else if (style == 1) {
      ASSERT_TRUE(files.Write(Path(u"new.tmp"), content));
      ASSERT_TRUE(files.Rename(Path(u"new.tmp"), Path(name)));
    } else {
      files.Delete(Path(name));
      TakePendingSystemError();
      const auto file = files.OpenAppend(Path(name));
      ASSERT_TRUE(file && file->Append(content));
    }
  }
  // What makes every edit count: nothing where news are exact, a pause longer than the window elsewhere.
  void Pause() {
    if (!os::SystemFolderWatcher().IsExact()) clock.milliseconds += 60'000;
  }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  os::Files& files = os::SystemFiles();
  App_FileSystem fileSystem{files, os::ThisSystem()};
  App_Common ini{files};
  FileProblems problems;
  Text root;
  MonitorSettings settings;
  std::unique_ptr<GlobalExclusions> exclusions;
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
      files.Delete(Path(name));
      TakePendingSystemError();
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
    ASSERT_EQ(exclusions->CheckGlobalEventDescEx(u"with " + excluded), excluded != u"nothing") << i;
    ASSERT_FALSE(exclusions->CheckGlobalEventDescEx(u"with word 99"));
  }
}

// A folder that is put in another's place, as tools that roll out rules do.
TEST_F(RealRuleBookTest, AFolderPutInPlaceCountsAfterTheWindow) {
  Edit(0, u"A.DAT", RuleWith("alpha"));
  EXPECT_EQ(Matches(*book, u"alpha beta"), Names{u"A"});
  ASSERT_TRUE(files.Rename(settings.rulesFolder, settings.rulesFolder + u" old"));
  std::uint32_t reason = 0;
  ASSERT_TRUE(fileSystem.EnsureDirExists(settings.rulesFolder, reason));
  Edit(0, u"B.DAT", RuleWith("beta"));
  clock.milliseconds += 60'000;
  EXPECT_EQ(Matches(*book, u"alpha beta"), Names{u"B"});
  Edit(0, u"C.DAT", RuleWith("beta"));
  Pause();
  EXPECT_EQ(Matches(*book, u"alpha beta"), (Names{u"B", u"C"}));
  files.Delete(settings.rulesFolder + u" old\\A.DAT");
  files.RemoveDir(settings.rulesFolder + u" old");
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
