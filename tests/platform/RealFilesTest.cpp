// The file helpers over the machine's own files, on both systems.
#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "platform/App_FilePath.h"
#include "platform/App_FileSystem.h"
#include "platform/FS_DirList.h"

namespace ovs {
namespace {

class RealFilesTest : public ::testing::Test {
 protected:
  RealFilesTest() : scoped_(debug) {
    Text temp;
    os::SystemFiles().TempFolder(temp).Ignore();
    root = App_FilePath::JoinPath(temp, u"ovs größe 日本 " + Text(helper.GetTempFile({}, true).substr(temp.size())));
    EXPECT_TRUE(helper.EnsureDirExists(root, failReason)) << failReason;
  }
  ~RealFilesTest() override {
    FS_DirList all(os::SystemFiles());
    all.IncludeDirs = true;
    all.AddSearchPath(root);
    all.AddFileMask(u"*");
    all.StartSearch();
    for (const Text& file : all.MatchingFilesOnDisk()) os::SystemFiles().Delete(file).Ignore();
    for (const Text& folder : all.MatchingDirsOnDisk()) os::SystemFiles().RemoveDir(folder).Ignore();
    EXPECT_TRUE(os::SystemFiles().RemoveDir(root).Ok());
  }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  App_FileSystem helper{os::SystemFiles(), os::ThisSystem()};
  std::uint32_t failReason = 0;
  Text root;
};

TEST_F(RealFilesTest, DeepFoldersAreMadeWrittenAndSearched) {
  Text deep = root;
  while (deep.size() < 600) deep = App_FilePath::JoinPath(deep, Text(60, u'd'));
  ASSERT_TRUE(helper.EnsureDirExists(deep, failReason)) << failReason;
  EXPECT_TRUE(helper.HasWriteAccess(deep));
  const Text file = App_FilePath::JoinPath(deep, u"Größe.CFG");
  EXPECT_TRUE(helper.SaveTextToFile(u"one\r\n", file, SaveMode::Append));
  EXPECT_TRUE(helper.SaveTextToFile(u"ONE\r\n", file, SaveMode::AppendNoDuplicates));
  EXPECT_TRUE(helper.SaveTextToFile(u"two\r\n", file, SaveMode::AppendNoDuplicates));
  std::vector<Text> lines;
  EXPECT_TRUE(helper.GetFileToArray(file, lines));
  EXPECT_EQ(lines, (std::vector<Text>{u"one", u"two"}));

  FS_DirList search(os::SystemFiles());
  search.AddSearchPath(root);
  search.AddFileMask(u"*.cfg");
  search.StartSearch();
  ASSERT_EQ(search.MatchingFileCount(), 1u);
  EXPECT_EQ(search.MatchingFilesOnDisk()[0], file);
  EXPECT_EQ(search.MatchingFileNames()[0], u"größe.cfg");
  EXPECT_TRUE(helper.DeleteFilesInPath(deep, u"*.CFG"));
  EXPECT_FALSE(helper.FileExist(file));
}

TEST_F(RealFilesTest, WhatCannotBeDoneIsNeutral) {
  const Text file = App_FilePath::JoinPath(root, u"file");
  ASSERT_TRUE(helper.SaveTextToFile(u"x", file, SaveMode::Replace));
  const Text tooLong = App_FilePath::JoinPath(root, Text(32'000, u'n'));
  for (const Text& path : {tooLong, App_FilePath::JoinPath(root, u"NUL"), App_FilePath::JoinPath(root, u"CON"), root}) {
    EXPECT_FALSE(helper.SaveTextToFile(u"x", path, SaveMode::Append)) << ToUtf8(path.substr(0, 200));
    EXPECT_FALSE(helper.FileDelete(path)) << ToUtf8(path.substr(0, 200));
    EXPECT_FALSE(helper.FileExist(path)) << ToUtf8(path.substr(0, 200));
  }
  EXPECT_FALSE(helper.EnsureDirExists(tooLong, failReason));
  EXPECT_NE(failReason, 0u);
  // A file where a folder should be gives way.
  EXPECT_TRUE(helper.EnsureDirExists(file, failReason));
  EXPECT_TRUE(helper.DirExist(file));
}

}  // namespace
}  // namespace ovs
