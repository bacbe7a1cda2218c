#include "platform/FS_DirList.h"

#include "platform/FolderLook.h"
#include "support/FakeClock.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace os::FileAttribute;
using Names = std::vector<Text>;

class DirListTest : public PlatformTest {
 protected:
  DirListTest() {
    for (const TextView folder : {u"C:\\R", u"C:\\R\\Sub", u"C:\\R\\Sub\\Deep", u"C:\\Elsewhere", u"C:\\Q"}) {
      memory.CreateDir(folder).Ignore();
    }
    for (const TextView file : {u"C:\\R\\z.DAT", u"C:\\R\\App.CFG", u"C:\\R\\Old copy.dat", u"C:\\R\\Sub\\S.dat",
                                u"C:\\R\\Sub\\Deep\\D.dat", u"C:\\Elsewhere\\L.dat", u"C:\\Q\\\u00C9t\u00C9.dat"}) {
      Put(file);
    }
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
  search.AddSearchPath(u"C:\\R\\z.DAT");
  search.AddSearchPath(u"C:\\Missing");
  search.AddSearchPath(u"c:\\q\\");
  search.AddFileMask(u"*.cfg");
  search.AddFileMask(u"?*.dat");
  EXPECT_EQ(Found(), (Names{u"d.dat", u"s.dat", u"z.dat", u"app.cfg", u"old copy.dat", u"\u00E9t\u00E9.dat"}));
  EXPECT_TRUE(LoggedIn(log, u"Path does not exist!") && LoggedIn(log, u"Variables=[sPath=C:\\Missing]") &&
              LoggedIn(log, u"Variables=[sPath=C:\\R\\z.DAT]"))
      << ToUtf8(log);
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
  } const cases[] = {{0, u"", u"", {u"sub", u"z.dat", u"old copy.dat"}, 1},
                     {1, u"", u"", {u"deep", u"s.dat", u"sub", u"z.dat", u"old copy.dat"}, 2},
                     {2, u"COPY", u"", {u"d.dat", u"deep", u"s.dat", u"sub", u"z.dat"}, 2},
                     {-1, u"", u"dEEP", {u"deep", u"s.dat", u"sub", u"z.dat", u"old copy.dat"}, 2},
                     {-1, u"s.d", u"u", {u"sub", u"z.dat", u"old copy.dat"}, 1}};
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
    EXPECT_EQ(search.MatchingFileAndDirCount(), each.found.size());
    EXPECT_EQ(search.MatchingFileCount(), each.found.size() - each.dirs);
  }
  EXPECT_EQ(search.MatchingFilesFullPath().front(), u"c:\\r\\sub");
  EXPECT_EQ(search.MatchingDirsOnDisk(), Names{u"C:\\R\\Sub"});
  search.InitClassVars();
  search.IncludeFiles = false;
  search.AddSearchPath(u"C:\\R");
  search.AddFileMask(u"*");
  EXPECT_EQ(Found(), Names{});
}

// Links are made in the order in which they are met.
TEST_F(DirListTest, ALinkIsEnteredOnceAndNeverUpward) {
  for (const auto& [link, target] : {std::pair<TextView, TextView>{u"C:\\R\\Sub\\Up", u"C:\\R"},
                                     {u"C:\\R\\Sub\\Above", u"C:\\"},
                                     {u"C:\\R\\Sub\\Self", u"C:\\R\\Sub"},
                                     {u"C:\\R\\Link", u"C:\\Elsewhere"},
                                     {u"C:\\R\\Again", u"C:\\Elsewhere"},
                                     {u"C:\\Elsewhere\\Back", u"C:\\R\\Sub"}}) {
    ASSERT_TRUE(memory.Link(link, target).Ok()) << ToUtf8(link);
  }
  search.AddFileMask(u"*.dat");
  EXPECT_EQ(Found(), (Names{u"d.dat", u"s.dat", u"z.dat", u"old copy.dat", u"l.dat", u"d.dat", u"s.dat"}));
  EXPECT_EQ(search.MatchingFilesOnDisk()[4], u"C:\\R\\Link\\L.dat");
  EXPECT_EQ(search.MatchingFilesOnDisk()[6], u"C:\\R\\Link\\Back\\S.dat");
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
  memory.SetVersion(u"C:\\R\\Old copy.dat", {{1, 10, 0, 1}}).Ignore();
  EXPECT_EQ(search.GetNewestFileByVersion(), u"c:\\r\\old copy.dat") << "the last number decides too";
  Put(u"C:\\R\\Old copy.dat", "new");
  EXPECT_EQ(search.GetNewestFileByModifiedDate(), u"c:\\r\\old copy.dat");
  memory.Delete(u"C:\\R\\Old copy.dat").Ignore();
  EXPECT_EQ(search.GetNewestFileByModifiedDate(), u"c:\\r\\sub\\deep\\d.dat");
  EXPECT_TRUE(LoggedIn(log, u"Cannot determine file date!") && LoggedIn(log, u"Variables=[sFile=C:\\R\\Old copy.dat]"))
      << ToUtf8(log);
}

// The look that the rules' folder is watched by: a link may change behind its name, so it always counts as new.
TEST_F(DirListTest, FolderLookFindsWhatIsNewAndMissesNoLink) {
  fakes::FakeClock clock;
  FolderLook look(files, clock, u"C:\\Q", [](TextView name) { return name != u"passed over"; });
  bool changed = false;
  const auto looks = [&] { return look.Look(changed).Ok() && changed; };
  Put(u"C:\\Q\\passed over");
  EXPECT_TRUE(looks());
  EXPECT_EQ(look.Entries().size(), 1u);
  EXPECT_FALSE(looks());
  Put(u"C:\\Q\\\u00C9t\u00C9.dat", "edited");
  EXPECT_TRUE(looks());
  EXPECT_FALSE(looks());
  ASSERT_TRUE(memory.SetAttributes(u"C:\\Q\\\u00C9t\u00C9.dat", kReparsePoint).Ok());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(looks());
  FolderLook missing(files, clock, u"C:\\None", [](TextView) { return true; });
  EXPECT_TRUE(missing.Look(changed).Ok());
  EXPECT_TRUE(changed && missing.Entries().empty()) << "a folder that does not exist is an empty one";
  EXPECT_TRUE(missing.Look(changed).Ok() && !changed);
}

TEST_F(DirListTest, AFolderThatFailsIsNotedAndTheRestIsFound) {
  files.FailPath(u"\\Sub\\", SystemError::kAccessDenied);
  search.AddFileMask(u"*.dat");
  EXPECT_EQ(Found(), (Names{u"z.dat", u"old copy.dat"}));
  EXPECT_TRUE(Logged(u"The folder could not be read whole!"));
}

}  // namespace
}  // namespace ovs
