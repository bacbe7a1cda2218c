#include "platform/App_FileSystem.h"

#include <algorithm>

#include "platform/App_FilePath.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace SystemError;

class FileSystemTest : public PlatformTest {
 protected:
  bool Ensure(TextView folder) { return fileSystem.EnsureDirExists(folder, reason); }

  std::uint32_t reason = 77;
};

TEST_F(FileSystemTest, EnsureDirExistsRefusesWhatIsNoFolderText) {
  for (const TextView bad : {u"", u"   ", u"Logs", u"a\\b"}) {
    EXPECT_FALSE(Ensure(bad));
    EXPECT_TRUE(Logged(Text(u"Passed bad string (no colon or \\\\ in string) for sDir: [").append(bad) + u"]"));
  }
  EXPECT_EQ(files.Calls(), 0u);
  EXPECT_TRUE(Ensure(u" C:\\ "));
  EXPECT_EQ(files.Calls(), 1u) << "nothing is created when the folder exists";
  EXPECT_TRUE(Logged(u"DirExist = True!"));
  EXPECT_TRUE(Ensure(u"C:\\Logs\\Deep"));
  EXPECT_TRUE(Logged(u"Completed; Success = True!"));
  EXPECT_TRUE(Ensure(u"\\\\server\\share\\a\\b"));
  EXPECT_TRUE(Exists(u"c:\\logs\\DEEP") && Exists(u"\\\\server\\share\\a\\b"));
  EXPECT_EQ(reason, 0u);
}

TEST_F(FileSystemTest, EnsureDirExistsPicksItsRoute) {
  constexpr TextView kFirstRoute = u"MakeSureDirectoryPathExists failure, sending to CreateDirW...";
  struct {
    Text folder;
    bool allAtOnce;
  } const cases[] = {{u"C:\\" + Text(241, u'a'), true},
                     {u"C:\\" + Text(242, u'b'), false},
                     {u"C:\\" + Text(119, u'c') + u"\\" + Text(121, u'd'), true},
                     {u"C:\\\u0416", false},
                     {u"C:\\ovsdot.", false},
                     {u"C:\\\u00E9", true}};
  for (const auto& each : cases) {
    // The third call is the one that creates; the second route looks at the first folder with it.
    files.FailCall(3, kAccessDenied);
    EXPECT_TRUE(Ensure(each.folder)) << each.folder.size();
    EXPECT_EQ(Logged(kFirstRoute), each.allAtOnce) << each.folder.size();
    EXPECT_EQ(os::Error(reason), each.allAtOnce ? kAccessDenied : os::kSuccess);
    EXPECT_TRUE(Exists(App_FilePath::PortPath(each.folder)));
  }
}

TEST_F(FileSystemTest, EnsureDirExistsReportsHowItEnded) {
  files.FailCall(4, kAccessDenied);  // the last look
  EXPECT_FALSE(Ensure(u"C:\\a"));
  EXPECT_TRUE(Logged(u"Completed via MakeSureDirectoryPathExists; DirExist = False!"));
  files.FailPath(u"locked", kAccessDenied);
  EXPECT_FALSE(Ensure(u"C:\\Locked\\b"));
  EXPECT_EQ(reason, kAccessDenied.Number());
  EXPECT_TRUE(Logged(u"Completed via CreateDirectoryW; DirExist = False!"));
  files.FailCall(5, kAccessDenied);  // the look at the end of CreateDirW
  EXPECT_TRUE(Ensure(u"C:\\\u0416"));
  EXPECT_TRUE(Logged(u"Completed; Success <> True, yet DirExist = True; returning success!"));
}

TEST_F(FileSystemTest, EnsureDirExistsRemovesAFileInTheWay) {
  constexpr TextView kRemoved = u"A file existed of same name, but was deleted successfully!";
  for (const TextView folder : {u"C:\\Logs", u"C:\\Other\\"}) {
    Put(App_FilePath::JoinPath(u"C:", folder.substr(3, folder.find(u'\\', 3) - 3)), "x");
    EXPECT_TRUE(Ensure(folder)) << ToUtf8(folder);
    EXPECT_TRUE(Logged(kRemoved)) << ToUtf8(folder);
  }
  Put(u"C:\\Kept", "x");
  ASSERT_TRUE(memory.SetAttributes(u"C:\\Kept", os::FileAttribute::kReadOnly).Ok());
  files.FailPath(u".old", kSharingViolation);
  EXPECT_FALSE(Ensure(u"C:\\Kept"));
  EXPECT_TRUE(Logged(u"Aborting; failure to remove existing file!"));
  EXPECT_EQ(Content(u"C:\\Kept"), "x");
  files.Heal();
  EXPECT_TRUE(Ensure(u"C:\\Kept")) << "what cannot be deleted is moved aside";
  EXPECT_TRUE(Logged(kRemoved));
}

TEST_F(FileSystemTest, CreateDirWWalksOnBelowAProtectedParent) {
  ASSERT_TRUE(memory.CreateDir(u"C:\\Share").Ok());
  files.FailCall(1, kAccessDenied);  // neither is it seen
  files.FailCall(2, kAccessDenied);  // nor created
  EXPECT_TRUE(fileSystem.CreateDirW(u"C:\\Share\\a\\\\b\\", reason));
  EXPECT_EQ(reason, kAccessDenied.Number());
  EXPECT_TRUE(Exists(u"C:\\Share\\a\\b"));
  files.FailCall(1, kAccessDenied);  // "already exists" is passed over as well
  EXPECT_TRUE(fileSystem.CreateDirW(u"\\\\?\\C:\\Share\\c", reason));
  EXPECT_EQ(reason, kAlreadyExists.Number());
  files.FailCall(3, kDiskFull);
  const std::uint64_t before = files.Calls();
  EXPECT_FALSE(fileSystem.CreateDirW(u"C:\\Share\\x\\y\\z", reason));
  EXPECT_EQ(files.Calls() - before, 4u) << "any other error ends the walk";
  EXPECT_EQ(reason, kDiskFull.Number());
  EXPECT_TRUE(Logged(u"Aborting; CreateDirectoryW Failure, Error 112 "));
}

TEST_F(FileSystemTest, FileExistAndDelete) {
  Put(u"C:\\a.txt", "a");
  Put(u"C:\\zero.txt");
  ASSERT_TRUE(memory.CreateDir(u"C:\\Folder").Ok());
  files.FailPath(u"locked", kSharingViolation);
  struct {
    TextView path;
    bool nonZero, exists;
    TextView note;
  } const cases[] = {
      {u"", false, false, u"Passed empty string!"},        {u"C:\\no\\a.txt", false, false, u"Path not found!"},
      {u"C:\\no.txt", false, false, u"File not found!"},   {u"C:\\Folder", false, false, u"File not found!"},
      {u"C:\\A.TXT", true, true, u"File exists!"},         {u"C:\\zero.txt", false, true, u"File exists!"},
      {u"C:\\zero.txt", true, false, u"Zero Byte File!"},  {u"C:\\locked", false, false, u"API Error: [32="},
      {u"\\\\?\\C:\\a.txt", false, true, u"File exists!"}, {u"\\??\\C:\\a.txt", false, true, u"File exists!"},
      {u"\\\\.\\C:\\a.txt", false, true, u"File exists!"}, {u"\"C:\\a.txt\"", false, true, u"File exists!"},
      {u"C:\\a.txt.", false, false, u"File not found!"}};
  for (const auto& each : cases) {
    EXPECT_EQ(fileSystem.FileExist(each.path, each.nonZero), each.exists) << ToUtf8(each.path);
    EXPECT_TRUE(Logged(each.note)) << ToUtf8(each.path);
  }
  EXPECT_TRUE(fileSystem.FileExistByStringPointer(u"C:\\a.txt"));
  EXPECT_FALSE(fileSystem.FileExistByStringPointer(nullptr));
  EXPECT_TRUE(fileSystem.FSObjectExistByStringPointer(u"C:\\Folder", true));
  EXPECT_FALSE(fileSystem.FSObjectExistByStringPointer(u"C:\\a.txt", true));
  EXPECT_FALSE(fileSystem.FSObjectExistByStringPointer(u"", true));

  EXPECT_FALSE(fileSystem.FileDelete(u"C:\\Folder"));
  EXPECT_TRUE(Logged(u"DeleteFileW failed; file is a directory!"));
  EXPECT_FALSE(fileSystem.FileDelete(u"C:\\no.txt"));
  const Text entry = std::exchange(log, Text());
  EXPECT_TRUE(LoggedIn(entry, u"DeleteFileW failed!") && LoggedIn(entry, u"APIError=2")) << ToUtf8(entry);
  EXPECT_TRUE(fileSystem.FileDelete(u"C:\\a.txt"));
  EXPECT_FALSE(Exists(u"C:\\a.txt"));
}

TEST_F(FileSystemTest, Facts) {
  Put(u"C:\\a.dll", "12345");
  os::FileInfo info;
  EXPECT_TRUE(fileSystem.GetFileWFAD(u"C:\\a.dll", info));
  EXPECT_EQ(info.size, 5u);
  EXPECT_FALSE(fileSystem.GetFileWFAD(u"C:\\b.dll", info));
  EXPECT_TRUE(Logged(u"File does not exist!"));
  EXPECT_EQ(fileSystem.GetFileVersion(u"C:\\a.dll"), u"");
  EXPECT_TRUE(Logged(u"GetFileVersionInfoW failure!"));
  ASSERT_TRUE(memory.SetVersion(u"C:\\a.dll", {{1, 2, 0, 65535}}).Ok());
  EXPECT_EQ(fileSystem.GetFileVersion(u"C:\\a.dll"), u"1.2.0.65535");
  EXPECT_EQ(fileSystem.GetFileVersion(u"C:\\a.dll", true), u"1.2.65535");
  ASSERT_TRUE(memory.SetVersion(u"C:\\a.dll", {{1, 2, 3, 4}}).Ok());
  EXPECT_EQ(fileSystem.GetFileVersion(u"C:\\a.dll", true), u"1.2.3.4");
  for (const TextView drive : {u"C", u"c:", u"C:\\"}) EXPECT_EQ(fileSystem.GetFileSystemType_AsString(drive), u"NTFS");
  for (const TextView bad : {u"", u"CC", u"1:", u"C:\\x", u"\\\\s"}) {
    EXPECT_EQ(fileSystem.GetFileSystemType_AsString(bad), u"") << ToUtf8(bad);
    EXPECT_TRUE(Logged(u"Invalid value passed as drive letter!")) << ToUtf8(bad);
  }
  EXPECT_EQ(fileSystem.MakeLongPath(u"C:\\A.DLL"), u"C:\\a.dll");
  EXPECT_EQ(fileSystem.MakeLongPath(u"C:\\none"), u"C:\\none");
  EXPECT_TRUE(Logged(u"GetLongPathNameW failure!"));
  ASSERT_TRUE(memory.CreateDir(u"C:\\Work").Ok());
  Put(u"C:\\Work\\here.txt");
  EXPECT_TRUE(fileSystem.SetCurrentDir(u"C:\\Work") && fileSystem.FileExist(u"here.txt"));
  EXPECT_FALSE(fileSystem.SetCurrentDir(u"C:\\None"));
  EXPECT_TRUE(Logged(u"SetCurrentDirectoryW failure!"));
  struct {
    TextView path, note;
  } const drives[] = {{u"\"\"", u"Passed non-empty string with no characters!"},
                      {u"c", u"Passed single letter; appending colon..."},
                      {u"c:", u"Passed good 2 character drive string; No changes made!"}};
  for (const auto& each : drives) {
    static_cast<void>(App_FilePath::PathToDriveLetter(each.path, true));
    EXPECT_TRUE(Logged(each.note)) << ToUtf8(each.path);
  }
  system.environment = {{u"LOCAL", u" \"C:\\a b\" "}, {u"SHARE", u"\\\\server\\x"}, {u"RELATIVE", u"a\\b"}};
  EXPECT_EQ(App_FilePath::LocalPathFromEnvVar(system, u" %LOCAL% "), u"C:\\a b");
  for (const TextView name : {u"SHARE", u"RELATIVE", u"NONE"})
    EXPECT_EQ(App_FilePath::LocalPathFromEnvVar(system, name), u"");
}

TEST_F(FileSystemTest, TemporaryFilesAndWriteAccess) {
  ASSERT_TRUE(memory.CreateDir(u"C:\\Work").Ok());
  const Text first = fileSystem.GetTempFile(u"C:\\Work");
  const Text second = fileSystem.GetTempFile(u"C:\\Work\\", true);
  EXPECT_TRUE(first.starts_with(u"C:\\Work\\vtt") && first.ends_with(u".tmp")) << ToUtf8(first);
  EXPECT_NE(first, second);
  EXPECT_TRUE(Exists(first));
  EXPECT_FALSE(Exists(second));
  App_FileSystem sameNumbers(files, system);
  EXPECT_EQ(sameNumbers.GetTempFile(u"C:\\Work", true), second) << "a name in use is passed over";
  EXPECT_TRUE(fileSystem.GetTempFile({}, false, true).starts_with(u"C:\\Temp\\vtt"));
  files.FailCall(1, kAccessDenied);
  system.environment[u"SystemRoot"] = u"C:\\Windows";
  EXPECT_TRUE(fileSystem.GetTempFile({}, false, true).starts_with(u"C:\\Windows\\Temp\\vtt"));
  EXPECT_EQ(fileSystem.GetTempFile(u"no folder", false, true), u"");
  EXPECT_TRUE(Logged(u"Could not create path!"));
  EXPECT_EQ(fileSystem.GetTempFile(u"C:\\missing"), u"");

  EXPECT_TRUE(fileSystem.HasWriteAccess(u"C:\\Work"));
  std::vector<os::DirEntry> left;
  EXPECT_TRUE(memory.List(u"C:\\Work", left).Ok());
  EXPECT_EQ(left.size(), 1u) << "only the first temporary file";
  EXPECT_FALSE(fileSystem.HasWriteAccess(u"C:\\missing"));
  EXPECT_TRUE(Logged(u"No write access!"));
  files.FailCall(2, kWriteProtected);
  EXPECT_FALSE(fileSystem.HasWriteAccess(u"C:\\Work"));
  files.FailCall(3, kSharingViolation);  // the removal: a virus scanner looks at the new file
  EXPECT_TRUE(fileSystem.HasWriteAccess(u"C:\\Work"));
}

TEST_F(FileSystemTest, DeleteFilesInPathNamesWhatBecameOfThem) {
  for (const TextView name : {u"A.tmp", u"b.TMP", u"kept.tmp", u"c.txt"}) Put(Text(u"C:\\").append(name));
  ASSERT_TRUE(memory.CreateDir(u"C:\\dir.tmp").Ok());
  ASSERT_TRUE(memory.SetAttributes(u"C:\\kept.tmp", os::FileAttribute::kReadOnly).Ok());
  EXPECT_FALSE(fileSystem.DeleteFilesInPath(u"C:\\", u"*.tmp"));
  const Text entries = std::exchange(log, Text());
  EXPECT_TRUE(LoggedIn(entries, u"Deleted:\r\nA.tmp\r\nb.TMP\r\n")) << ToUtf8(entries);
  EXPECT_TRUE(LoggedIn(entries, u"Not deleted:\r\nkept.tmp\r\n"));
  EXPECT_FALSE(Exists(u"C:\\A.tmp"));
  EXPECT_TRUE(Exists(u"C:\\c.txt") && Exists(u"C:\\dir.tmp"));
  EXPECT_TRUE(fileSystem.DeleteFilesInPath(u"C:\\", u"*.txt"));
  EXPECT_FALSE(fileSystem.DeleteFilesInPath(u"C:\\none", u"*"));
}

}  // namespace
}  // namespace ovs
