#include "platform/FS_DirList.h"

#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace os::FileAttribute;
using Names = std::vector<Text>;

class DirListTest : public PlatformTest {
 protected:
  DirListTest() {
    for (const TextView folder : {u"C:\\R", u"C:\\R\\Sub", u"C:\\R\\Sub\\Deep", u"C:\\R\\Link", u"C:\\Q"}) {
      memory.CreateDir(folder).Ignore();
    }
    for (const TextView file : {u"C:\\R\\z.DAT", u"C:\\R\\App.CFG", u"C:\\R\\Old copy.dat", u"C:\\R\\Sub\\S.dat",
                                u"C:\\R\\Sub\\Deep\\D.dat", u"C:\\R\\Link\\L.dat", u"C:\\Q\\\u00C9t\u00C9.dat"}) {
      Put(file);
    }
    memory.SetAttributes(u"C:\\R\\Link", kReparsePoint).Ignore();
    memory.SetAttributes(u"C:\\R\\z.DAT", kHidden | kSystem).Ignore();
    memory.SetAttributes(u"C:\\R\\App.CFG", 0).Ignore();
    search.AddSearchPath(u"C:\\R");
  }
  Names Found() {
    search.StartSearch();
    return search.MatchingFileNames();
  }

  FS_DirList search{files};
};

TEST_F(DirListTest, FindsInTheOrderOfTheFileSystemAndReportsLowerCase) {
  EXPECT_EQ(Found(), Names{}) << "no mask";
  search.AddSearchPath(u"C:\\Missing");
  search.AddSearchPath(u"c:\\q\\");
  search.AddFileMask(u"*.cfg");
  search.AddFileMask(u"?*.dat");
  EXPECT_EQ(Found(), (Names{u"d.dat", u"s.dat", u"z.dat", u"app.cfg", u"old copy.dat", u"\u00E9t\u00E9.dat"}));
  EXPECT_TRUE(LoggedIn(log, u"Path does not exist!") && LoggedIn(log, u"Variables=[sPath=C:\\Missing]")) << ToUtf8(log);
  EXPECT_EQ(search.MatchingFilesFullPath()[3], u"c:\\r\\app.cfg");
  EXPECT_EQ(search.MatchingFilesOnDisk()[3], u"C:\\R\\App.CFG");
  EXPECT_EQ(search.MatchingFilesFullPath()[5], u"c:\\q\\\u00E9t\u00E9.dat");
  EXPECT_EQ(search.MatchingFilesOnDisk()[5], u"c:\\q\\\u00C9t\u00C9.dat");
  EXPECT_EQ(search.GetSingleFileResult(), u"c:\\r\\sub\\deep\\d.dat");
  search.ReturnObjectType = DirListObject::PathOnDisk;
  EXPECT_EQ(search.GetSingleFileResult(), u"C:\\R\\Sub\\Deep\\D.dat");
  EXPECT_EQ(search.MatchingFileCount(), 6u);
  search.InitClassVars();
  EXPECT_EQ(Found(), Names{});
  EXPECT_EQ(search.GetSingleFileResult(), u"");
  EXPECT_TRUE(Logged(u"No Matching Files!"));
}

TEST_F(DirListTest, LevelsExclusionsAndFolders) {
  struct {
    std::int32_t level;
    TextView fileExclusion, dirExclusion;
    Names found;
    std::size_t dirs;
  } const cases[] = {{0, u"", u"", {u"z.dat", u"old copy.dat"}, 2},
                     {1, u"", u"", {u"s.dat", u"z.dat", u"old copy.dat"}, 3},
                     {2, u"COPY", u"", {u"d.dat", u"s.dat", u"z.dat"}, 3},
                     {-1, u"", u"dEEP", {u"s.dat", u"z.dat", u"old copy.dat"}, 3},
                     {-1, u"s.d", u"u", {u"z.dat", u"old copy.dat"}, 2}};
  for (const auto& each : cases) {
    search.InitClassVars();
    search.AddSearchPath(u"C:\\R");
    search.AddFileMask(u"*.dat");
    search.IncludeDirs = true;
    search.RecursionLevel = each.level;
    search.AddFileInStrExclusion(each.fileExclusion);
    search.AddRecursiveSubDirInStrExclusion(each.dirExclusion);
    EXPECT_EQ(Found(), each.found) << each.level;
    EXPECT_EQ(search.MatchingDirCount(), each.dirs) << each.level;
    EXPECT_EQ(search.MatchingFileAndDirCount(), each.found.size() + each.dirs);
  }
  search.InitClassVars();
  search.IncludeFiles = false;
  search.AddSearchPath(u"C:\\R\\Link");
  search.AddFileMask(u"*");
  EXPECT_EQ(Found(), Names{}) << "a reparse point that is searched itself is no fault";
}

TEST_F(DirListTest, AttributesThatAreMissingInTheFilterExclude) {
  struct {
    std::uint32_t attributes;
    Names found;
  } const cases[] = {{167, {u"z.dat", u"app.cfg", u"old copy.dat"}},
                     {kNormal, {u"app.cfg"}},
                     {kArchive, {u"app.cfg", u"old copy.dat"}},
                     {kHidden, {u"app.cfg"}},
                     {kHidden | kSystem, {u"z.dat", u"app.cfg"}}};
  for (const auto& each : cases) {
    search.InitClassVars();
    search.AddSearchPath(u"C:\\R");
    search.AddFileMask(u"*.*");
    search.RecursionLevel = 0;
    search.FileAttribs = static_cast<std::int32_t>(each.attributes);
    EXPECT_EQ(Found(), each.found) << each.attributes;
  }
}

TEST_F(DirListTest, Newest) {
  EXPECT_EQ(search.GetNewestFileByModifiedDate(), u"");
  EXPECT_TRUE(Logged(u"No Matching Files!"));
  EXPECT_EQ(search.GetNewestFileByVersion(), u"");
  EXPECT_TRUE(Logged(u"No Matching Files!"));
  search.AddFileMask(u"*.dat");
  Found();
  EXPECT_EQ(search.GetNewestFileByVersion(), u"c:\\r\\sub\\deep\\d.dat") << "the first when none has a version";
  memory.SetVersion(u"C:\\R\\z.DAT", {{1, 10, 0, 0}}).Ignore();
  memory.SetVersion(u"C:\\R\\Old copy.dat", {{1, 9, 9, 9}}).Ignore();
  EXPECT_EQ(search.GetNewestFileByVersion(), u"c:\\r\\z.dat");
  Put(u"C:\\R\\Old copy.dat", "new");
  EXPECT_EQ(search.GetNewestFileByModifiedDate(), u"c:\\r\\old copy.dat");
  memory.Delete(u"C:\\R\\Old copy.dat").Ignore();
  EXPECT_EQ(search.GetNewestFileByModifiedDate(), u"c:\\r\\sub\\deep\\d.dat");
  EXPECT_TRUE(LoggedIn(log, u"Cannot determine file date!") && LoggedIn(log, u"Variables=[sFile=C:\\R\\Old copy.dat]"))
      << ToUtf8(log);
}

TEST_F(DirListTest, AFolderThatFailsIsNotedAndTheRestIsFound) {
  files.FailPath(u"\\Sub\\", SystemError::kAccessDenied);
  search.AddFileMask(u"*.dat");
  EXPECT_EQ(Found(), (Names{u"z.dat", u"old copy.dat"}));
  EXPECT_TRUE(Logged(u"The folder could not be read whole!"));
}

}  // namespace
}  // namespace ovs
