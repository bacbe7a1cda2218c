// The log file and the dump files on the disk.
#include <algorithm>

#include "support/DiagTest.h"

namespace ovs {
namespace {

using DebugFile = DiagTest;

DebugLogPlace Place(Text folder, bool switchFile) { return {std::move(folder), {}, {}, false, switchFile}; }

TEST_F(DebugFile, NamingRule) {
  struct {
    TextView folder, subFolder, fileName;
    bool qualify;
    TextView path;
  } const cases[] = {{u"", u"", u"", false, u"C:\\Data\\Debug Logs\\Svc\\OrvantaEventService (1).log"},
                     {u"C:\\", u"", u"", true, u"C:\\Data\\Debug Logs\\Svc\\OrvantaEventService PC (1).log"},
                     {u"C:\\x", u"Sub", u"trace", false, u"C:\\x\\Sub\\trace (1).log"},
                     {u"C:\\x\\", u"", u"a.b.txt", true, u"C:\\x\\Svc\\a.b PC (1).txt"},
                     {u"C:\\x", u"", u"ab", false, u"C:\\x\\Svc\\OrvantaEventService (1).log"},
                     {u"C:\\x", u"", u"abc", false, u"C:\\x\\Svc\\abc (1).log"},
                     {u"C:\\x.y", u"", u"abc.", false, u"C:\\x.y\\Svc\\abc (1)."}};
  for (const auto& each : cases) {
    EXPECT_EQ(debug.DebugLogGetLogFileVar(each.folder, each.subFolder, each.fileName, each.qualify), each.path);
  }
  EXPECT_EQ(debug.DebugLogPath(true), u"");
  debug.DebugLogSetLogFileVars(u"C:\\a.b\\log");
  EXPECT_EQ(debug.DebugLogFileNoExt(), u"C:\\a.b\\log");
  debug.DebugLogSetLogFileVars(u"C:\\a.b\\c.d.log");
  EXPECT_EQ(debug.DebugLogFileNoExt(), u"C:\\a.b\\c.d");
  EXPECT_EQ(debug.DebugLogPath(false), u"C:\\a.b");
  EXPECT_EQ(debug.DebugLogPath(true), u"C:\\a.b\\");
  EXPECT_TRUE(App_Debug::DebugStringMatch(u" C:\\A ", u"c:\\a"));
}

TEST_F(DebugFile, EntriesWaitInMemoryUntilTheFileIsOpened) {
  debug.InitDebug({}, false, {});
  EXPECT_EQ(debug.DebugLogFile(), kLogFile);
  debug.dLog(kNoProc, u"früh");
  EXPECT_EQ(OnDisk(kLogFile), "-");
  debug.InitDebug({}, true, {});
  const std::string expected = ToUtf8(entries[0]) + "\r\n\r\n";
  EXPECT_EQ(OnDisk(kLogFile), expected);
  debug.dLog(kNoProc, u"2");
  EXPECT_EQ(OnDisk(kLogFile), expected + ToUtf8(entries[1]) + "\r\n\r\n");
  debug.DebugLogAddEntry(u"");
  EXPECT_EQ(ToUtf8(debug.DebugLogText()), OnDisk(kLogFile));
}

TEST_F(DebugFile, AnotherPlaceTakesOver) {
  const Text other = u"C:\\Other\\Svc\\OrvantaEventService (1).log";
  const auto logged = [&](std::size_t i) { return ToUtf8(entries.at(i)) + "\r\n\r\n"; };
  debug.InitDebug({}, true, {});
  debug.InitDebug({}, true, Place(u"C:\\Other", false));             // not without switchFile
  debug.InitDebug({}, false, Place(u"c:\\data\\DEBUG logs", true));  // nor is a log closed for its own path
  EXPECT_EQ(debug.DebugLogFile(), kLogFile);
  files.FailPath(u"Debug Logs", SystemError::kDiskFull);
  debug.dLog(kNoProc, u"one");
  files.Heal();
  debug.InitDebug({}, true, Place(u"C:\\Other", true));  // what waits goes to the old file
  debug.dLog(kNoProc, u"two");
  EXPECT_EQ(OnDisk(kLogFile), logged(0));
  EXPECT_EQ(OnDisk(other), logged(1));
  files.FailPath(u"Other", SystemError::kDiskFull);
  debug.dLog(kNoProc, u"three");
  debug.InitDebug({}, true, Place(u"c:\\DATA\\Debug Logs", true));  // or to the new one when the old is lost
  EXPECT_EQ(OnDisk(kLogFile), logged(0) + logged(2));
}

TEST_F(DebugFile, ContinuesInTheEncodingItFinds) {
  ASSERT_TRUE(disk.MakeSureDirectoryPathExists(kLogFile).Ok());
  ASSERT_TRUE(disk.Write(kLogFile, std::string_view("\xFF\xFE"
                                                    "a\0",
                                                    4))
                  .Ok());
  debug.InitDebug({}, true, {});
  debug.dLog(kNoProc, u"ä€");
  EXPECT_EQ(DecodeFile(OnDisk(kLogFile)), u"a" + entries[0] + u"\r\n\r\n");
}

TEST_F(DebugFile, ADiskThatRefusesLosesNothingAndDisturbsNobody) {
  debug.InitDebug({}, true, {});
  debug.dLog(kNoProc, u"before");
  files.FailPath(u"Debug Logs", SystemError::kDiskFull);
  for (int i = 0; i < 3; ++i) {
    FailPending(os::Error(32));
    debug.dLog(kNoProc, u"meanwhile");
    EXPECT_EQ(PendingSystemError(), 0u);
  }
  EXPECT_EQ(debug.Counters().errorsOutsideErrorHandler, 3u);
  files.Heal();
  debug.dLog(kNoProc, u"after");
  EXPECT_EQ(OnDisk(kLogFile), ToUtf8(debug.DebugLogText()));
  EXPECT_EQ(entries.size(), 5u);
  // Wherever a call fails, each entry is written once.
  for (std::uint64_t call = 1; call < 8; ++call) {
    files.FailCall(call, SystemError::kAccessDenied);
    for (int i = 0; i < 4; ++i) debug.dLog(kNoProc, u"again");
    ASSERT_EQ(OnDisk(kLogFile), ToUtf8(debug.DebugLogText())) << call;
  }
}

TEST_F(DebugFile, TheOldestOfTooManyWaitingEntriesAreDroppedAndCounted) {
  debug.InitDebug({}, true, {});
  files.FailPath(u"Debug Logs", SystemError::kDiskFull);
  const Text long_(300'000, u'x');
  for (int i = 0; i < 10; ++i) debug.DebugLogAddEntry(long_);
  files.Heal();
  debug.DebugLogAddEntry(u"last");
  const std::string content = OnDisk(kLogFile);
  const auto kept = static_cast<std::size_t>(std::count(content.begin(), content.end(), 'x')) / long_.size();
  EXPECT_LE(kept * (long_.size() + 4), 2u * 1024 * 1024);
  EXPECT_TRUE(content.starts_with("Debug log was not writable: " + std::to_string(10 - kept) + " older entries were"));
  EXPECT_TRUE(content.ends_with("last\r\n\r\n"));
}

TEST_F(DebugFile, WithoutAFolderNothingIsWritten) {
  files.FailPath(u"Debug Logs", SystemError::kAccessDenied);
  debug.InitDebug({}, true, {});
  debug.dLog(kNoProc, u"kept");
  EXPECT_EQ(PendingSystemError(), 0u);
  EXPECT_TRUE(debug.DebugLogText().ends_with(u"kept\r\n\r\n"));
  debug.CleanupDebug();
  EXPECT_EQ(OnDisk(kLogFile), "-");
  files.Heal();
  DebugEnvironment environment = Environment();
  environment.hasWriteAccess = [](TextView) { return false; };
  debug.Attach({&files, &clock, &zone, &system, &ticker}, environment);
  debug.InitDebug({}, true, {});
  EXPECT_EQ(OnDisk(kLogFile), "-") << "nor where the folder may not be written";
}

TEST_F(DebugFile, CleanupWritesWhatIsSwitchedOn) {
  const std::string report = ToUtf8(u"Machine report ä");
  struct {
    bool env, proc;
  } const cases[] = {{false, false}, {true, false}, {false, true}, {true, true}};
  for (const auto& each : cases) {
    App_Debug own;
    const ScopedDiagnostics place(own);
    own.Attach({&files, &clock, &zone, &system, &ticker}, Environment());
    const Text base = each.env ? u"C:\\E" : u"C:\\N";
    own.InitDebug({.envDump = each.env, .procDump = each.proc}, true, Place(base + (each.proc ? u"P1" : u"N1"), false));
    { const Proc proc(u"Mod", u"Work", ProcKind::Sub); }
    const std::string dump = ToUtf8(own.ProcDump(false));
    own.CleanupDebug();
    own.CleanupDebug();  // writes nothing anew
    const std::string log = OnDisk(own.DebugLogFile());
    own.dLog(kNoProc, u"late");
    EXPECT_EQ(OnDisk(own.DebugLogFile()), log) << "the log is closed";
    EXPECT_EQ(OnDisk(own.DebugLogFileNoExt() + u" Dump_Env.log"), each.env || each.proc ? report : "-");
    EXPECT_EQ(OnDisk(own.DebugLogFileNoExt() + u" Dump_Proc.log"), each.proc ? dump : "-");
    std::vector<os::DirEntry> left;
    ASSERT_TRUE(disk.List(own.DebugLogPath(false), left).Ok());
    EXPECT_EQ(left.size(), (each.env || each.proc ? 1u : 0u) + (each.proc ? 1u : 0u) + 1u);
  }
}

TEST_F(DebugFile, ADumpThatCannotBeWrittenLeavesTheOldOne) {
  const Text dump = u"C:\\Data\\Debug Logs\\Svc\\OrvantaEventService (1) Dump_Proc.log";
  debug.InitDebug({.procDump = true}, true, {});
  ASSERT_TRUE(disk.Write(dump, "old").Ok());
  files.FailPath(u"Dump_Proc.log", SystemError::kDiskFull);
  debug.CleanupDebug();
  EXPECT_EQ(OnDisk(dump), "old");
  EXPECT_NE(OnDisk(kLogFile).find("The dump could not be written:  " + ToUtf8(dump)), std::string::npos);
  EXPECT_EQ(PendingSystemError(), 0u);
}

}  // namespace
}  // namespace ovs
