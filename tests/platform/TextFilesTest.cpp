// SaveTextToFile and the reading of text files, over files in memory.
#include <functional>

#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace SystemError;

constexpr TextView kLog = u"C:\\App\\log.txt";

class TextFilesTest : public PlatformTest {
 protected:
  TextFilesTest() { memory.CreateDir(u"C:\\App").Ignore(); }
  bool Append(TextView text) { return fileSystem.SaveTextToFile(text, kLog, SaveMode::Append); }
  bool AppendOnce(TextView text) { return fileSystem.SaveTextToFile(text, kLog, SaveMode::AppendNoDuplicates); }
  bool Replace(TextView text) { return fileSystem.SaveTextToFile(text, kLog, SaveMode::Replace); }
};

std::string Bytes(std::string_view bytes) { return std::string(bytes); }

TEST_F(TextFilesTest, AFileIsContinuedInItsEncoding) {
  using namespace std::string_view_literals;
  struct {
    std::string before;
    std::string appended;  // of "é€Ж" CR LF
    bool lossless;
    std::size_t cutOff = 0;  // bytes of half a character, as a power failure leaves it
  } const cases[] = {
      {"", "\xC3\xA9\xE2\x82\xAC\xD0\x96\r\n", true},
      {"plain", "\xC3\xA9\xE2\x82\xAC\xD0\x96\r\n", true},
      {"\xEF\xBB\xBFx", "\xC3\xA9\xE2\x82\xAC\xD0\x96\r\n", true},
      {Bytes("\xFF\xFEx\0"sv), Bytes("\xE9\0\xAC\x20\x16\x04\r\0\n\0"sv), true},
      {Bytes("\xFF\xFEx\0y"sv), Bytes("\0\xE9\0\xAC\x20\x16\x04\r\0\n\0"sv), true},  // half a character is completed
      {"\xC3\xA9 \xE2\x82", "\xC3\xA9\xE2\x82\xAC\xD0\x96\r\n", true, 2},
      {"\xEF\xBB\xBFx\xF0\x9F\x98", "\xC3\xA9\xE2\x82\xAC\xD0\x96\r\n", true, 3},
      {"caf\xE9 \xC3", "\xE9\x80\\u0416\r\n", false},
      {"caf\xE9 ", "\xE9\x80\\u0416\r\n", false}};
  for (const auto& each : cases) {
    Put(kLog, each.before);
    const std::string whole = each.before.substr(0, each.before.size() - each.cutOff) + each.appended;
    EXPECT_TRUE(Append(u"\u00E9\u20AC\u0416\r\n"));
    EXPECT_EQ(Content(kLog), whole);
    EXPECT_EQ(LoggedIn(log, u"Half a character, as an interrupted write leaves it, was cut off"), each.cutOff != 0);
    EXPECT_EQ(Logged(u"Characters that the encoding of the file cannot carry were replaced: [C:\\App\\log.txt]"),
              !each.lossless);
    for (const TextView same : {u"\u00E9\u20AC\u0416\r\n", u"\u00C9\u20AC\u0416"}) {
      EXPECT_TRUE(AppendOnce(same));
      EXPECT_TRUE(Logged(u"The file has this text already!")) << each.before;
    }
    EXPECT_TRUE(AppendOnce(u"new\r\n") && AppendOnce(u"NEW\r\n"));
    EXPECT_EQ(DecodeFile(Content(kLog)), DecodeFile(whole) + u"new\r\n");
    EXPECT_TRUE(Replace(u"\u0416"));
    EXPECT_EQ(Content(kLog), "\xD0\x96");
  }
}

TEST_F(TextFilesTest, MissingFoldersAreMade) {
  for (const SaveMode mode : {SaveMode::Append, SaveMode::AppendNoDuplicates, SaveMode::Replace}) {
    const Text path = u"C:\\New" + Text(1, static_cast<char16_t>(u'0' + static_cast<int>(mode))) + u"\\Sub\\a.txt";
    EXPECT_TRUE(fileSystem.SaveTextToFile(u"x", path, mode));
    EXPECT_EQ(Content(path), "x");
  }
  EXPECT_FALSE(fileSystem.SaveTextToFile(u"x", u"C:\\App", SaveMode::Append)) << "a folder";
  EXPECT_TRUE(Logged(u"Cannot write file [C:\\App]: [5="));
}

TEST_F(TextFilesTest, NoDuplicatesFollowsWhatOthersDoToTheFile) {
  constexpr TextView kA = u"03/07/2024 01:05:09 PM  -  Low Disk\r\n";
  constexpr TextView kB = u"03/07/2024 01:05:09 PM  -  Logon\r\n";
  const std::string a = ToUtf8(kA);
  const std::string b = ToUtf8(kB);
  const auto both = [&] {
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(AppendOnce(kA) && AppendOnce(kB));
  };
  both();
  EXPECT_EQ(Content(kLog), a + b);
  struct {
    const char* what;
    std::function<void()> meddle;
    std::string after;
  } const cases[] = {
      {"deleted", [&] { memory.Delete(kLog).Ignore(); }, a + b},
      {"rotated", [&] { memory.Rename(kLog, u"C:\\App\\old.txt").Ignore(); }, a + b},
      {"rotated and begun anew",
       [&] {
         memory.Rename(kLog, u"C:\\App\\old.txt").Ignore();
         Put(kLog, b);
       },
       b + a},
      {"replaced by renaming",
       [&] {
         Put(u"C:\\App\\n", a);
         memory.Rename(u"C:\\App\\n", kLog).Ignore();
       },
       a + b},
      {"emptied", [&] { Put(kLog, ""); }, a + b},
      {"same size, other text", [&] { Put(kLog, std::string(a.size() + b.size() - 2, 'x') + "\r\n"); },
       std::string(a.size() + b.size() - 2, 'x') + "\r\n" + a + b},
      {"line added", [&] { Put(kLog, Content(kLog) + "x"); },
       std::string(a.size() + b.size() - 2, 'x') + "\r\n" + a + b + "x"},
      {"unfinished line", [&] { Put(kLog, "x" + a.substr(0, a.size() - 2)); }, "x" + a.substr(0, a.size() - 2) + b + a},
      {"other encoding", [&] { Put(kLog, "\xE9\r\n" + b); }, "\xE9\r\n" + b + a}};
  for (const auto& each : cases) {
    each.meddle();
    both();
    EXPECT_EQ(Content(kLog), each.after) << each.what;
  }
}

TEST_F(TextFilesTest, TheIndexIsNotMadeAnewForEachCall) {
  const auto line = [](int number) {
    return Text(u"03/07/2024  -  rule number ") + static_cast<char16_t>(0x4E00 + number) + u"\r\n";
  };
  std::string content;
  for (int i = 0; i < 100; ++i) content += ToUtf8(line(i));
  Put(kLog, content + std::string(3u << 20, 'x') + "\r\n");
  EXPECT_TRUE(AppendOnce(line(0)));
  const std::uint64_t before = files.Calls();
  constexpr int kRounds = 100;
  for (int i = 0; i < kRounds; ++i) EXPECT_TRUE(AppendOnce(line(i)) && AppendOnce(line(100 + i)));
  EXPECT_LE(files.Calls() - before, kRounds * 12u);
  EXPECT_EQ(Content(kLog).size(), content.size() * 2 + (3u << 20) + 2);
}

TEST_F(TextFilesTest, AFileInUseIsTriedAgainForAMomentAndNotAtEveryCall) {
  const struct {
    os::Error error;
    SaveMode mode;
    bool isInUse;
  } cases[] = {{kSharingViolation, SaveMode::Append, true},  {kLockViolation, SaveMode::AppendNoDuplicates, true},
               {kSharingViolation, SaveMode::Replace, true}, {kAccessDenied, SaveMode::Replace, true},
               {kAccessDenied, SaveMode::Append, false},     {kDiskFull, SaveMode::Append, false}};
  constexpr std::uint32_t kLongest = 175;
  for (const auto& each : cases) {
    Put(kLog, "old\r\n");
    const auto save = [&](int pauses) {
      system.paused = 0;
      system.onPause = [this, pauses, left = pauses]() mutable {
        if (--left == 0) files.Heal();
      };
      files.FailPath(kLog, each.error);
      return fileSystem.SaveTextToFile(u"new", kLog, each.mode);
    };
    EXPECT_EQ(save(3), each.isInUse);
    EXPECT_EQ(system.paused, each.isInUse ? 75u : 0u);
    EXPECT_EQ(Content(kLog), !each.isInUse ? "old\r\n" : each.mode == SaveMode::Replace ? "new" : "old\r\nnew");
    Put(kLog, "old\r\n");
    EXPECT_FALSE(save(-1));
    EXPECT_EQ(system.paused, each.isInUse ? kLongest : 0u);
    EXPECT_FALSE(save(-1));
    EXPECT_EQ(system.paused, 0u) << "it was in use before";
    files.Heal();
    EXPECT_TRUE(fileSystem.SaveTextToFile(u"new", kLog, each.mode));
    EXPECT_FALSE(save(-1));
    EXPECT_EQ(system.paused, each.isInUse ? kLongest : 0u);
    files.Heal();
    EXPECT_TRUE(fileSystem.SaveTextToFile(u"newer", kLog, each.mode));
  }
}

// Every call of the whole way fails once; whatever is reported is what the files show.
TEST_F(TextFilesTest, AFailureAnywhereLeavesWholeFilesAndTheNextCallWorks) {
  struct Step {
    TextView text;
    TextView path;
    SaveMode mode;
  };
  constexpr TextView kNewLog = u"C:\\New\\Sub\\log.txt";
  constexpr TextView kState = u"C:\\App\\state.txt";
  constexpr Step kSteps[] = {{u"one entry\r\n", kNewLog, SaveMode::Append},
                             {u"a second, longer entry\r\n", kNewLog, SaveMode::AppendNoDuplicates},
                             {u"a second, longer entry\r\n", kNewLog, SaveMode::AppendNoDuplicates},
                             {u"a third entry that is long\r\n", kNewLog, SaveMode::AppendNoDuplicates},
                             {u"new state", kState, SaveMode::Replace}};
  std::uint64_t needed = 1;
  for (std::uint64_t nth = 1; nth <= needed; ++nth) {
    for (const os::Error error : {kDiskFull, kAccessDenied, kSharingViolation, kGeneralFailure}) {
      fakes::MemoryFiles disk;
      fakes::FaultyFiles faulty(disk);
      App_FileSystem helper(faulty, system);
      disk.CreateDir(u"C:\\App").Ignore();
      disk.Write(kState, "old state").Ignore();
      faulty.FailCall(nth, error);
      std::string wantedLog;
      std::string wantedState = "old state";
      const auto run = [&](const Step& step) {
        const bool saved = helper.SaveTextToFile(step.text, step.path, step.mode);
        EXPECT_EQ(TakePendingSystemError(), 0u) << nth;
        const std::string bytes = ToUtf8(step.text);
        const bool isLog = step.path == kNewLog;
        if (saved && !isLog) wantedState = bytes;
        const bool isThere = step.mode == SaveMode::AppendNoDuplicates && wantedLog.find(bytes) != std::string::npos;
        if (saved && isLog && !isThere) wantedLog += bytes;
        std::string found;
        ReadFileBytes(disk, step.path, found);
        EXPECT_EQ(found, isLog ? wantedLog : wantedState) << "call " << nth << " number " << error.Number();
        return saved;
      };
      for (const Step& step : kSteps) run(step);
      needed = std::max(needed, faulty.Calls());
      faulty.Heal();
      for (const Step& step : kSteps) EXPECT_TRUE(run(step)) << "call " << nth << " number " << error.Number();
      std::vector<os::DirEntry> left;
      EXPECT_TRUE(disk.List(u"C:\\App", left).Ok());
      EXPECT_EQ(left.size(), 1u) << "call " << nth << ": a file was left beside the state";
    }
  }
  EXPECT_GT(needed, 30u);
}

TEST_F(TextFilesTest, GetFileToArrayCutsAtCrLfOnly) {
  using Lines = std::vector<Text>;
  struct {
    std::string content;
    Lines lines;
  } const cases[] = {{"", {}},
                     {"a", {u"a"}},
                     {"a\r\nb\r\n", {u"a", u"b"}},
                     {"a\nb\rc\r\n\r\nd", {u"a\nb\rc", u"", u"d"}},
                     {"\r\n", {u""}},
                     {"\xEF\xBB\xBF\xC3\xA9\r\r\n", {u"\u00E9\r"}},
                     {std::string("a\0b", 3), {Text(u"a\0b", 3)}}};
  Lines lines;
  for (const auto& each : cases) {
    Put(kLog, each.content);
    EXPECT_TRUE(fileSystem.GetFileToArray(kLog, lines));
    EXPECT_EQ(lines, each.lines) << each.content;
  }
  Text text = u"left over";
  EXPECT_FALSE(fileSystem.GetFileToString(u"C:\\App\\none", text));
  EXPECT_EQ(text, u"");
  EXPECT_FALSE(fileSystem.GetFileToArray(u"C:\\App", lines));
  EXPECT_EQ(lines, Lines{});
  EXPECT_TRUE(Logged(u"Cannot read file [C:\\App]: it is a folder"));
}

TEST_F(TextFilesTest, ReadingHasALimit) {
  std::string bytes;
  Put(kLog, "1234567890");
  EXPECT_EQ(ReadFileBytes(files, kLog, bytes, 10), ReadOutcome::Ok);
  EXPECT_EQ(ReadFileBytes(files, kLog, bytes, 9), ReadOutcome::TooLarge);
  EXPECT_EQ(bytes, "");
  Put(kLog, std::string(kMaxTextFileBytes + 1, 'x'));
  Text text;
  EXPECT_FALSE(fileSystem.GetFileToString(kLog, text));
  EXPECT_TRUE(Logged(u"Cannot read file [C:\\App\\log.txt]: it is too large"));
  Put(kLog, "x");
  for (std::uint64_t nth = 1; nth <= 4; ++nth) {
    files.FailCall(nth, kSharingViolation);
    EXPECT_FALSE(fileSystem.GetFileToString(kLog, text)) << nth;
    EXPECT_TRUE(Logged(u"Cannot read file [C:\\App\\log.txt]: the system refuses to read it [32=")) << nth;
  }
  EXPECT_TRUE(fileSystem.GetFileToString(kLog, text));
}

}  // namespace
}  // namespace ovs
