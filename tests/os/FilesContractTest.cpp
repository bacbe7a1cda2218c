// What base/os/Files.h promises, asked of the machine's own files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>

#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "os/Clock.h"
#include "os/Files.h"
#include "os/PendingError.h"
#include "os/System.h"

namespace ovs {
namespace {

using os::DirEntry;
using os::FileInfo;
using os::FileStamp;

constexpr std::uint32_t kAnyNumber = 0xFFFFFFFF;

class FilesContract : public ::testing::Test {
 protected:
  void SetUp() override {
    Text temp;
    ASSERT_TRUE(files.TempFolder(temp));
    ASSERT_TRUE(temp.ends_with(u'\\')) << ToUtf8(temp);
    folder = temp + u"ovs-" + NumberText(os::ThisSystem().ProcessId()) + u"-" + NumberText(os::SystemClock().UtcNow());
    ASSERT_TRUE(files.CreateDir(folder)) << PendingSystemError();
  }

  void TearDown() override { RemoveTree(folder); }

  void RemoveTree(const Text& path) {
    std::vector<DirEntry> entries;
    files.List(path, entries);
    for (const DirEntry& entry : entries) {
      const Text child = path + u"\\" + entry.name;
      entry.info.IsDirectory() ? RemoveTree(child) : static_cast<void>(files.Delete(child));
    }
    EXPECT_TRUE(files.RemoveDir(path)) << ToUtf8(path) << " " << PendingSystemError();
  }

  [[nodiscard]] Text At(TextView name) const { return Text(folder).append(u"\\").append(name); }

  std::string Content(TextView path) {
    const auto file = files.OpenRead(path);
    std::string bytes(4 << 20, '\0');
    std::size_t got = 0;
    if (!file || !file->ReadAt(0, bytes, got)) return "error " + std::to_string(TakePendingSystemError());
    return bytes.substr(0, got);
  }

  FileStamp Stamp(TextView path) {
    FileStamp stamp;
    const auto file = files.OpenRead(path);
    EXPECT_TRUE(file && file->Stamp(stamp)) << ToUtf8(path);
    return stamp;
  }

  std::vector<Text> Names(TextView path) {
    std::vector<DirEntry> entries;
    EXPECT_TRUE(files.List(path, entries)) << ToUtf8(path) << PendingSystemError();
    std::vector<Text> names;
    for (const DirEntry& entry : entries) names.push_back(entry.name);
    std::ranges::sort(names);
    return names;
  }

  os::Files& files = os::SystemFiles();
  Text folder;
};

TEST_F(FilesContract, FailuresLeaveTheirNumber) {
  ASSERT_TRUE(files.Write(At(u"file"), "x") && files.CreateDir(At(u"sub")) && files.Write(At(u"sub\\in"), "y"));
  FileInfo info;
  os::FileVersion version;
  std::vector<DirEntry> entries;
  Text text;
  const auto opens = [&](TextView path) { return files.OpenRead(path) || files.OpenAppend(path) || files.Write(path, "z"); };
  struct {
    const char* call;
    std::uint32_t number;
    std::function<bool()> fails;
  } const cases[] = {{"Info", 2, [&] { return files.Info(At(u"no"), info); }},
                     {"Info below none", 3, [&] { return files.Info(At(u"no\\no"), info); }},
                     {"Info of no path", 3, [&] { return files.Info(u"", info); }},
                     {"Info with NUL", 123, [&] { return files.Info(folder + u"\\file" + kNul + u"x", info); }},
                     {"OpenRead", 2, [&] { return files.OpenRead(At(u"no")) != nullptr; }},
                     {"OpenRead below none", 3, [&] { return files.OpenRead(At(u"no\\no")) != nullptr; }},
                     {"Write below none", 3, [&] { return files.Write(At(u"no\\no"), ""); }},
                     {"open a folder", 5, [&] { return opens(At(u"sub")); }},
                     {"open with backslash", 123, [&] { return opens(At(u"file\\")); }},
                     {"open NUL", 5, [&] { return opens(At(u"NUL")); }},
                     {"open ports", 5, [&] { return opens(At(u"con")) || opens(At(u"COM1")); }},
                     {"open NUL alone", 5, [&] { return opens(u"NUL"); }},
                     {"Rename none", 2, [&] { return files.Rename(At(u"no"), At(u"new")); }},
                     {"Rename to below none", 3, [&] { return files.Rename(At(u"file"), At(u"no\\new")); }},
                     {"Rename onto folder", 5, [&] { return files.Rename(At(u"file"), At(u"sub")); }},
                     {"Delete", 2, [&] { return files.Delete(At(u"no")); }},
                     {"Delete folder", 5, [&] { return files.Delete(At(u"sub")); }},
                     {"RemoveDir full", 145, [&] { return files.RemoveDir(At(u"sub")); }},
                     {"RemoveDir of file", 267, [&] { return files.RemoveDir(At(u"file")); }},
                     {"CreateDir again", 183, [&] { return files.CreateDir(At(u"SUB")); }},
                     {"CreateDir below none", 3, [&] { return files.CreateDir(At(u"no\\no")); }},
                     {"MakeSure long", 206, [&] { return files.MakeSureDirectoryPathExists(At(Text(250, u'x') + u"\\")); }},
                     {"List", 3, [&] { return files.List(At(u"no"), entries); }},
                     {"List file", kAnyNumber, [&] { return files.List(At(u"file"), entries); }},
                     {"LongPathName", 2, [&] { return files.LongPathName(At(u"no"), text); }},
                     {"Version", 2, [&] { return files.Version(At(u"no"), version); }},
                     {"SetCurrentDir", 2, [&] { return files.SetCurrentDir(At(u"no")); }},
                     {"FileSystemName", 3, [&] { return files.FileSystemName(u"Q:\\", text); }}};
  for (const auto& each : cases) {
    SetPendingSystemError(0);
    EXPECT_FALSE(each.fails()) << each.call;
    const std::uint32_t number = TakePendingSystemError();
    EXPECT_TRUE(each.number == kAnyNumber ? number != 0 : number == each.number) << each.call << " " << number;
  }
  EXPECT_EQ(Names(folder), (std::vector<Text>{u"file", u"sub"}));
  EXPECT_EQ(Content(At(u"file")), "x");
  EXPECT_FALSE(files.Version(At(u"file"), version));
  EXPECT_TRUE(PendingSystemError() == 1812 || PendingSystemError() == 1813) << PendingSystemError();
}

TEST_F(FilesContract, AppendsAreWholeAndReadsEndAtTheEnd) {
  const auto first = files.OpenAppend(At(u"log"));
  const auto second = files.OpenAppend(At(u"LOG"));
  ASSERT_TRUE(first && second);
  const std::string large(1 << 20, 'L');
  EXPECT_TRUE(first->Append("one") && second->Append(large) && first->Append("") && first->Append("three"));
  EXPECT_EQ(Content(At(u"log")), "one" + large + "three");
  FileInfo info;
  ASSERT_TRUE(files.Info(At(u"log"), info));
  EXPECT_EQ(info.size, large.size() + 8);
  EXPECT_FALSE(info.IsDirectory());
  EXPECT_LT(std::abs(info.modified - os::SystemClock().UtcNow()), 3600 * kTicksPerSecond);
  const auto reader = files.OpenRead(At(u"log"));
  char buffer[16] = {};
  std::size_t got = 99;
  EXPECT_TRUE(reader->ReadAt(info.size - 5, buffer, got));
  EXPECT_EQ(std::string(buffer, got), "three");
  for (const std::uint64_t offset : {info.size, info.size + 1, std::uint64_t{1} << 40}) {
    EXPECT_TRUE(reader->ReadAt(offset, buffer, got)) << offset << " " << PendingSystemError();
    EXPECT_EQ(got, 0u) << offset;
  }
}

TEST_F(FilesContract, OpenFilesAreShared) {
  ASSERT_TRUE(files.Write(At(u"a"), "old"));
  auto reader = files.OpenRead(At(u"a"));
  auto appender = files.OpenAppend(At(u"a"));
  ASSERT_TRUE(reader && appender);
  EXPECT_TRUE(files.Write(At(u"a"), "new, longer"));
  EXPECT_TRUE(files.Rename(At(u"a"), At(u"b")));
  EXPECT_TRUE(appender->Append("+"));
  EXPECT_EQ(Content(At(u"b")), "new, longer+");
  EXPECT_TRUE(files.Delete(At(u"b")));
  char buffer[32] = {};
  std::size_t got = 0;
  EXPECT_TRUE(reader->ReadAt(4, buffer, got));
  EXPECT_EQ(std::string(buffer, got), " longer+");
  reader.reset();
  appender.reset();
  EXPECT_TRUE(Names(folder).empty());
}

TEST_F(FilesContract, StampsTellStatesApartAndRenamesReplace) {
  ASSERT_TRUE(files.Write(At(u"a"), "1234") && files.Write(At(u"b"), "1234"));
  const FileStamp before = Stamp(At(u"a"));
  EXPECT_EQ(Stamp(At(u"A")), before);
  EXPECT_EQ(before.size, 4u);
  EXPECT_NE(Stamp(At(u"b")).index, before.index);
  FileStamp appended;
  auto appender = files.OpenAppend(At(u"a"));
  ASSERT_TRUE(appender && appender->Stamp(appended));
  EXPECT_EQ(appended, before);
  EXPECT_TRUE(appender->Append("5"));
  EXPECT_FALSE(Stamp(At(u"a")) == before);
  appender.reset();
  ASSERT_TRUE(files.Rename(At(u"b"), At(u"A")));
  EXPECT_FALSE(Stamp(At(u"a")) == before);
  EXPECT_EQ(Content(At(u"a")), "1234");
  // Not every system changes the case alone; none may lose the file.
  EXPECT_TRUE(files.Rename(At(u"a"), At(u"A")));
  EXPECT_EQ(Names(folder).size(), 1u);
}

TEST_F(FilesContract, LongPaths) {
  Text path = folder;
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(files.CreateDir(path.append(u"\\").append(Text(90, u'p'))));
  const Text file = path + u"\\File.txt";
  ASSERT_GT(file.size(), 400u);
  EXPECT_TRUE(files.Write(file, "deep"));
  EXPECT_TRUE(files.OpenAppend(u"\\\\?\\" + file)->Append("er"));
  EXPECT_EQ(Content(file), "deeper");
  EXPECT_EQ(Content(u"\\\\?\\" + file), "deeper");
  EXPECT_EQ(Names(path), std::vector<Text>{u"File.txt"});
  Text found;
  EXPECT_TRUE(files.LongPathName(file, found));
  EXPECT_EQ(ToUtf8(found), ToUtf8(file));
  EXPECT_TRUE(files.Rename(file, path + u"\\other"));
  EXPECT_TRUE(files.Delete(path + u"\\OTHER"));
}

TEST_F(FilesContract, NamesAreFoundAsUsersSpellThem) {
  ASSERT_TRUE(files.CreateDir(At(u"Sub")) && files.Write(At(u"Sub\\Äpfel Ω 日本 😀.DAT"), "found"));
  const Text sub = At(u"Sub\\");
  for (const Text& spelled : {sub + u"äPFEL ω 日本 😀.dat", At(u"SUB/.\\..\\sub\\Äpfel Ω 日本 😀.DAT. ")}) {
    EXPECT_EQ(Content(spelled), "found") << ToUtf8(spelled);
  }
  EXPECT_EQ(Names(At(u"sub\\")), std::vector<Text>{u"Äpfel Ω 日本 😀.DAT"});
  Text found;
  EXPECT_TRUE(files.LongPathName(At(u"SUB\\äpfel ω 日本 😀.dat"), found));
  EXPECT_TRUE(EqualsFolded(found, At(u"Sub\\Äpfel Ω 日本 😀.DAT"))) << ToUtf8(found);
  Text temp;
  ASSERT_TRUE(files.TempFolder(temp) && files.SetCurrentDir(folder));
  FileInfo info;
  EXPECT_TRUE(files.Info(u"sub", info) && info.IsDirectory() && info.size == 0);
  EXPECT_TRUE(files.Info(folder.substr(2), info));
  EXPECT_TRUE(files.SetCurrentDir(temp));
}

TEST_F(FilesContract, FoldersVersionsAndVolumes) {
  EXPECT_TRUE(files.MakeSureDirectoryPathExists(At(u"a\\b\\c")));
  EXPECT_TRUE(files.MakeSureDirectoryPathExists(At(u"a\\b\\")));
  EXPECT_EQ(Names(At(u"a")), std::vector<Text>{u"b"});
  std::vector<DirEntry> entries(1);
  EXPECT_TRUE(files.List(At(u"a\\b"), entries) && entries.size() == 1);
  EXPECT_TRUE(files.List(At(u"a"), entries) && entries.size() == 2 && entries[1].info.IsDirectory());
  Text name;
  EXPECT_TRUE(files.FileSystemName(folder.substr(0, 3), name)) << PendingSystemError();
  EXPECT_FALSE(name.empty());
  const Text system = os::ThisSystem().EnvironmentVariable(u"SystemRoot");
  os::FileVersion version;
  if (!system.empty()) {
    EXPECT_TRUE(files.Version(system + u"\\system32\\kernel32.dll", version));
    EXPECT_GE(version.part[0], 5);
  }
}

}  // namespace
}  // namespace ovs
