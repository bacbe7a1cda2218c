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
    ASSERT_TRUE(files.TempFolder(temp).Ok());
    ASSERT_TRUE(temp.ends_with(u'\\')) << ToUtf8(temp);
    folder = temp + u"ovs-" + NumberText(os::ThisSystem().ProcessId()) + u"-" + NumberText(os::SystemClock().UtcNow());
    ASSERT_TRUE(files.CreateDir(folder).Ok());
  }

  void TearDown() override { RemoveTree(folder); }

  void RemoveTree(const Text& path) {
    std::vector<DirEntry> entries;
    files.List(path, entries).Ignore();
    for (const DirEntry& entry : entries) {
      const Text child = path + u"\\" + entry.name;
      entry.info.IsDirectory() ? RemoveTree(child) : files.Delete(child).Ignore();
    }
    EXPECT_TRUE(files.RemoveDir(path).Ok()) << ToUtf8(path);
  }

  [[nodiscard]] Text At(TextView name) const { return Text(folder).append(u"\\").append(name); }

  std::string Content(TextView path) {
    std::unique_ptr<os::ReadFile> file;
    std::string bytes(4 << 20, '\0');
    std::size_t got = 0;
    os::Error error = files.OpenRead(path, file);
    if (error.Ok()) error = file->ReadAt(0, bytes, got);
    return error.Ok() ? bytes.substr(0, got) : "error " + std::to_string(error.Number());
  }

  FileStamp Stamp(TextView path) {
    FileStamp stamp;
    std::unique_ptr<os::ReadFile> file;
    EXPECT_TRUE(files.OpenRead(path, file).Ok() && file->Stamp(stamp).Ok()) << ToUtf8(path);
    return stamp;
  }

  std::vector<Text> Names(TextView path) {
    std::vector<DirEntry> entries;
    EXPECT_TRUE(files.List(path, entries).Ok()) << ToUtf8(path);
    std::vector<Text> names;
    for (const DirEntry& entry : entries) names.push_back(entry.name);
    std::ranges::sort(names);
    return names;
  }

  os::Files& files = os::SystemFiles();
  Text folder;
};

TEST_F(FilesContract, FailuresTellTheirNumber) {
  ASSERT_TRUE(files.Write(At(u"file"), "x").Ok() && files.CreateDir(At(u"sub")).Ok() &&
              files.Write(At(u"sub\\in"), "y").Ok());
  FileInfo info;
  os::FileVersion version;
  std::vector<DirEntry> entries;
  FileStamp stamp;
  Text text;
  std::unique_ptr<os::ReadFile> read;
  std::unique_ptr<os::AppendFile> append;
  // However it is opened, the same comes of it.
  const auto open = [&](TextView path) {
    const os::Error error = files.OpenRead(path, read);
    const bool alike = files.OpenAppend(path, append) == error && files.Write(path, "z") == error;
    return alike && !read && !append ? error : os::Error();
  };
  struct {
    const char* name;
    std::uint32_t number;
    std::function<os::Error()> call;
  } const cases[] = {{"Info", 2, [&] { return files.Info(At(u"no"), info); }},
                     {"Info below none", 3, [&] { return files.Info(At(u"no\\no"), info); }},
                     {"Info of no path", 3, [&] { return files.Info(u"", info); }},
                     {"Info with NUL", 123, [&] { return files.Info(folder + u"\\file" + kNul + u"x", info); }},
                     {"OpenRead", 2, [&] { return files.OpenRead(At(u"no"), read); }},
                     {"OpenRead below none", 3, [&] { return files.OpenRead(At(u"no\\no"), read); }},
                     {"Write below none", 3, [&] { return files.Write(At(u"no\\no"), ""); }},
                     {"open a folder", 5, [&] { return open(At(u"sub")); }},
                     {"open with backslash", 123, [&] { return open(At(u"file\\")); }},
                     {"open NUL", 5, [&] { return open(At(u"NUL")); }},
                     {"open console", 5, [&] { return open(At(u"con")); }},
                     {"open port", 5, [&] { return open(At(u"COM1")); }},
                     {"open NUL alone", 5, [&] { return open(u"NUL"); }},
                     {"Flush", 2, [&] { return files.Flush(At(u"no")); }},
                     {"Flush a folder", 5, [&] { return files.Flush(At(u"sub")); }},
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
                     {"FolderIdentity", 3, [&] { return files.FolderIdentity(At(u"no\\no"), stamp); }},
                     {"FolderIdentity file", kAnyNumber, [&] { return files.FolderIdentity(At(u"file"), stamp); }},
                     {"LongPathName", 2, [&] { return files.LongPathName(At(u"no"), text); }},
                     {"Version", 2, [&] { return files.Version(At(u"no"), version); }},
                     {"SetCurrentDir", 2, [&] { return files.SetCurrentDir(At(u"no")); }},
                     {"FileSystemName", 3, [&] { return files.FileSystemName(u"Q:\\", text); }}};
  for (const auto& each : cases) {
    const os::Error error = each.call();
    EXPECT_TRUE(each.number == kAnyNumber ? error.Failed() : error.Number() == each.number)
        << each.name << " " << error.Number();
  }
  EXPECT_EQ(Names(folder), (std::vector<Text>{u"file", u"sub"}));
  EXPECT_EQ(Content(At(u"file")), "x");
  const std::uint32_t number = files.Version(At(u"file"), version).Number();
  EXPECT_TRUE(number == 1812 || number == 1813) << number;
}

TEST_F(FilesContract, AppendsAreWholeAndReadsEndAtTheEnd) {
  std::unique_ptr<os::AppendFile> first;
  ASSERT_TRUE(files.OpenAppend(At(u"log"), first).Ok());
  std::unique_ptr<os::AppendFile> second;
  ASSERT_TRUE(files.OpenAppend(At(u"LOG"), second).Ok());
  const std::string large(1 << 20, 'L');
  EXPECT_TRUE(first->Append("one").Ok() && second->Append(large).Ok() && first->Append("").Ok() &&
              first->Append("three").Ok());
  EXPECT_TRUE(files.Flush(At(u"log")).Ok());
  EXPECT_EQ(Content(At(u"log")), "one" + large + "three");
  // What stood behind is cut off only by whoever knows it, and what is appended then stands in its place.
  const std::uint64_t whole = large.size() + 8;
  EXPECT_EQ(first->Shorten(whole + 1, 3), SystemError::kSharingViolation);
  EXPECT_TRUE(second->Shorten(whole, whole - 5).Ok() && first->Append("three").Ok());
  FileInfo info;
  ASSERT_TRUE(files.Info(At(u"log"), info).Ok());
  EXPECT_EQ(info.size, large.size() + 8);
  EXPECT_FALSE(info.IsDirectory());
  EXPECT_LT(std::abs(info.modified - os::SystemClock().UtcNow()), 3600 * kTicksPerSecond);
  std::unique_ptr<os::ReadFile> reader;
  ASSERT_TRUE(files.OpenRead(At(u"log"), reader).Ok());
  char buffer[16] = {};
  std::size_t got = 99;
  EXPECT_TRUE(reader->ReadAt(info.size - 5, buffer, got).Ok());
  EXPECT_EQ(std::string(buffer, got), "three");
  for (const std::uint64_t offset : {info.size, info.size + 1, std::uint64_t{1} << 40}) {
    EXPECT_TRUE(reader->ReadAt(offset, buffer, got).Ok()) << offset;
    EXPECT_EQ(got, 0u) << offset;
  }
}

TEST_F(FilesContract, OpenFilesAreShared) {
  ASSERT_TRUE(files.Write(At(u"a"), "old").Ok());
  std::unique_ptr<os::ReadFile> reader;
  ASSERT_TRUE(files.OpenRead(At(u"a"), reader).Ok());
  std::unique_ptr<os::AppendFile> appender;
  ASSERT_TRUE(files.OpenAppend(At(u"a"), appender).Ok());
  EXPECT_TRUE(files.Write(At(u"a"), "new, longer").Ok());
  EXPECT_TRUE(files.Rename(At(u"a"), At(u"b")).Ok());
  EXPECT_TRUE(appender->Append("+").Ok());
  EXPECT_EQ(Content(At(u"b")), "new, longer+");
  EXPECT_TRUE(files.Delete(At(u"b")).Ok());
  char buffer[32] = {};
  std::size_t got = 0;
  EXPECT_TRUE(reader->ReadAt(4, buffer, got).Ok());
  EXPECT_EQ(std::string(buffer, got), " longer+");
  reader.reset();
  appender.reset();
  EXPECT_TRUE(Names(folder).empty());
}

TEST_F(FilesContract, StampsTellStatesApartAndRenamesReplace) {
  ASSERT_TRUE(files.Write(At(u"a"), "1234").Ok() && files.Write(At(u"b"), "1234").Ok());
  const FileStamp before = Stamp(At(u"a"));
  EXPECT_EQ(Stamp(At(u"A")), before);
  EXPECT_EQ(before.size, 4u);
  EXPECT_NE(Stamp(At(u"b")).index, before.index);
  FileStamp appended;
  std::unique_ptr<os::AppendFile> appender;
  ASSERT_TRUE(files.OpenAppend(At(u"a"), appender).Ok());
  ASSERT_TRUE(appender->Stamp(appended).Ok());
  EXPECT_EQ(appended, before);
  EXPECT_TRUE(appender->Append("5").Ok());
  EXPECT_FALSE(Stamp(At(u"a")) == before);
  appender.reset();
  ASSERT_TRUE(files.Rename(At(u"b"), At(u"A")).Ok());
  EXPECT_FALSE(Stamp(At(u"a")) == before);
  EXPECT_EQ(Content(At(u"a")), "1234");
  // Not every system changes the case alone; none may lose the file.
  EXPECT_TRUE(files.Rename(At(u"a"), At(u"A")).Ok());
  EXPECT_EQ(Names(folder).size(), 1u);
}

TEST_F(FilesContract, LongPaths) {
  Text path = folder;
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(files.CreateDir(path.append(u"\\").append(Text(90, u'p'))).Ok());
  const Text file = path + u"\\File.txt";
  ASSERT_GT(file.size(), 400u);
  EXPECT_TRUE(files.Write(file, "deep").Ok());
  std::unique_ptr<os::AppendFile> appender;
  ASSERT_TRUE(files.OpenAppend(u"\\\\?\\" + file, appender).Ok());
  EXPECT_TRUE(appender->Append("er").Ok());
  appender.reset();
  EXPECT_EQ(Content(file), "deeper");
  EXPECT_EQ(Content(u"\\\\?\\" + file), "deeper");
  EXPECT_EQ(Names(path), std::vector<Text>{u"File.txt"});
  Text found;
  EXPECT_TRUE(files.LongPathName(file, found).Ok());
  EXPECT_EQ(ToUtf8(found), ToUtf8(file));
  EXPECT_TRUE(files.Rename(file, path + u"\\other").Ok());
  EXPECT_TRUE(files.Delete(path + u"\\OTHER").Ok());
}

TEST_F(FilesContract, NamesAreFoundAsUsersSpellThem) {
  ASSERT_TRUE(files.CreateDir(At(u"Sub")).Ok() && files.Write(At(u"Sub\\Äpfel Ω 日本 😀.DAT"), "found").Ok());
  const Text sub = At(u"Sub\\");
  for (const Text& spelled : {sub + u"äPFEL ω 日本 😀.dat", At(u"SUB/.\\..\\sub\\Äpfel Ω 日本 😀.DAT. ")}) {
    EXPECT_EQ(Content(spelled), "found") << ToUtf8(spelled);
  }
  EXPECT_EQ(Names(At(u"sub\\")), std::vector<Text>{u"Äpfel Ω 日本 😀.DAT"});
  Text found;
  EXPECT_TRUE(files.LongPathName(At(u"SUB\\äpfel ω 日本 😀.dat"), found).Ok());
  EXPECT_TRUE(EqualsFolded(found, At(u"Sub\\Äpfel Ω 日本 😀.DAT"))) << ToUtf8(found);
  Text temp;
  ASSERT_TRUE(files.TempFolder(temp).Ok() && files.SetCurrentDir(folder).Ok());
  FileInfo info;
  EXPECT_TRUE(files.Info(u"sub", info).Ok() && info.IsDirectory() && info.size == 0);
  EXPECT_TRUE(files.Info(folder.substr(2), info).Ok());
  EXPECT_TRUE(files.SetCurrentDir(temp).Ok());
}

TEST_F(FilesContract, FoldersVersionsAndVolumes) {
  EXPECT_TRUE(files.MakeSureDirectoryPathExists(At(u"a\\b\\c")).Ok());
  EXPECT_TRUE(files.MakeSureDirectoryPathExists(At(u"a\\b\\")).Ok());
  EXPECT_EQ(Names(At(u"a")), std::vector<Text>{u"b"});
  std::vector<DirEntry> entries(1);
  EXPECT_TRUE(files.List(At(u"a\\b"), entries).Ok() && entries.size() == 1);
  EXPECT_TRUE(files.List(At(u"a"), entries).Ok() && entries.size() == 2 && entries[1].info.IsDirectory());
  FileStamp outer;
  FileStamp inner;
  FileStamp again;
  EXPECT_TRUE(files.FolderIdentity(At(u"a"), outer).Ok() && files.FolderIdentity(At(u"a\\b"), inner).Ok() &&
              files.FolderIdentity(At(u"A\\B\\"), again).Ok());
  EXPECT_TRUE(inner == again && inner != outer);
  Text name;
  EXPECT_TRUE(files.FileSystemName(folder.substr(0, 3), name).Ok());
  EXPECT_FALSE(name.empty());
  const Text system = os::ThisSystem().EnvironmentVariable(u"SystemRoot");
  os::FileVersion version;
  if (!system.empty()) {
    EXPECT_TRUE(files.Version(system + u"\\system32\\kernel32.dll", version).Ok());
    EXPECT_GE(version.part[0], 5);
  }
}

}  // namespace
}  // namespace ovs
