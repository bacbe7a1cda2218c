#include "platform/App_FilePath.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"

namespace ovs {
namespace {

using namespace App_FilePath;

TEST(App_FilePath, PrepPathForUnicodeAPI) {
  struct {
    TextView given;
    bool addBackslash;
    TextView prepared;  // without the NUL
  } const cases[] = {{u"C:\\Logs", true, u"\\\\?\\C:\\Logs\\"},
                     {u"C:\\Logs\\", true, u"\\\\?\\C:\\Logs\\"},
                     {u"\"C:\\a b\"", false, u"\\\\?\\C:\\a b"},
                     {u"\\\\server\\share", false, u"\\\\?\\UNC\\server\\share"},
                     {u"\\\\\\\\server\\share", false, u"\\\\?\\UNC\\server\\share"},

                     {u"\\\\?\\unc\\server\\x", false, u"\\\\?\\UNC\\server\\x"},
                     {u"\\\\?\\C:\\x", false, u"\\\\?\\C:\\x"},
                     {u"\\??\\C:\\x", false, u"\\\\?\\C:\\x"},
                     {u"\\\\.\\C:\\x", false, u"\\\\?\\C:\\x"},
                     {u"\\", false, u"\\\\?\\\\"},
                     {u"\\\\", false, u"\\\\?\\UNC\\"},
                     {u"name.txt", true, u"name.txt"},
                     {u"", true, u""}};
  for (const auto& each : cases) {
    Text path(each.given);
    EXPECT_EQ(PrepPathForUnicodeAPI(path, each.addBackslash), Text(each.prepared) + kNul) << ToUtf8(each.given);
  }
}

TEST(App_FilePath, FixPathFromAPIIsTheWayBack) {
  struct {
    Text given;
    TextView fixed;
  } const cases[] = {{u"\\\\?\\C:\\x", u"C:\\x"}, {u"\\\\?\\UNC\\server\\x", u"\\\\server\\x"},   {u"\\??\\C:\\x", u"C:\\x"},
                     {u"\\\\.\\C:\\x", u"C:\\x"}, {Text(u"C:\\x") + kNul + u"rubbish", u"C:\\x"}, {u"", u""}};
  for (const auto& each : cases) EXPECT_EQ(FixPathFromAPI(each.given), each.fixed) << ToUtf8(each.given);
}

TEST(App_FilePath, Kinds) {
  struct {
    TextView path;
    bool full, unc;
    std::size_t root;
  } const cases[] = {{u"C:\\a", true, false, 3},

                     {u"C:a", false, false, 0},
                     {u"1:\\a", false, false, 0},

                     {u"\\a", false, false, 0},
                     {u"", false, false, 0},
                     {u"\\\\server\\share\\a", true, true, 15},
                     {u"\\\\server\\share", true, true, 14},
                     {u"\\\\server", true, true, 8},
                     {u"\\\\?\\C:\\a", true, false, 7},
                     {u"\\\\?\\unc\\server\\share\\a", true, true, 21}};
  for (const auto& each : cases) {
    EXPECT_EQ(IsFullPath(each.path), each.full) << ToUtf8(each.path);
    EXPECT_EQ(IsUNCPath(each.path), each.unc) << ToUtf8(each.path);
    EXPECT_EQ(RootLength(each.path), each.root) << ToUtf8(each.path);
  }
  EXPECT_FALSE(PathNeedsWideAPI(u"C:\\Größe €"));
  for (const TextView wide : {u"C:\\日本", u"C:\\ovsdot.", u"C:\\a \\b"})
    EXPECT_TRUE(PathNeedsWideAPI(wide)) << ToUtf8(wide);
}

TEST(App_FilePath, PortPathLeavesToTheSystemWhatItHasToResolve) {
  struct {
    TextView given, path;
  } const cases[] = {{u"\"C:\\a b.\"", u"\\\\?\\C:\\a b."},
                     {u"\\??\\C:\\x", u"\\\\?\\C:\\x"},
                     {u"\\\\.\\C:\\x\\", u"\\\\?\\C:\\x\\"},
                     {u"\\\\server\\share\\x", u"\\\\?\\UNC\\server\\share\\x"},
                     {u"C:\\", u"\\\\?\\C:\\"},
                     {u"C:\\a\\..\\b", u"C:\\a\\..\\b"},
                     {u"C:\\a/b", u"C:\\a/b"},
                     {u"C:\\a\\\\b", u"C:\\a\\\\b"},
                     {u"\"a\\b\"", u"a\\b"},
                     {u"\\\\.\\pipe\\x", u"\\\\.\\pipe\\x"},
                     {u"name", u"name"}};
  for (const auto& each : cases) EXPECT_EQ(PortPath(each.given), each.path) << ToUtf8(each.given);
}

TEST(App_FilePath, Parts) {
  struct {
    TextView path, folder, file, name;
  } const cases[] = {{u"C:\\a.b\\Low Disk.DAT", u"C:\\a.b\\", u"Low Disk.DAT", u"Low Disk"},

                     {u"C:\\a.b\\plain", u"C:\\a.b\\", u"plain", u"plain"},
                     {u"C:\\a\\", u"C:\\a\\", u"", u""},

                     {u".hidden", u"", u".hidden", u""}};
  for (const auto& each : cases) {
    EXPECT_EQ(FolderOf(each.path), each.folder) << ToUtf8(each.path);
    EXPECT_EQ(FileNameOf(each.path), each.file) << ToUtf8(each.path);
    EXPECT_EQ(NameWithoutExtension(each.path), each.name) << ToUtf8(each.path);
  }
  EXPECT_EQ(JoinPath(u"C:\\a", u"b"), u"C:\\a\\b");
  EXPECT_EQ(JoinPath(u"C:\\a\\", u"\\b"), u"C:\\a\\b");
  EXPECT_EQ(JoinPath(u"C:\\a", {}), u"C:\\a\\");
  EXPECT_EQ(JoinPath({}, u"b"), u"b");
}

TEST(App_FilePath, PathToDriveLetter) {
  struct {
    TextView given;
    bool colon;
    TextView letter;
  } const cases[] = {{u"C:\\x", false, u"C"},     {u"d:\\x", true, u"d:"},        {u"C", true, u"C:"},
                     {u"C:", true, u"C:"},        {u"\\\\?\\E:\\x", false, u"E"}, {u"\\\\server\\share", true, u"Z:"},
                     {u"name", false, u"Z:"},     {u"   ", false, u"Z:"},         {u"", false, u"Z:"},
                     {u"\"F:\\x\"", true, u"F:"}, {u"1:\\x", true, u"Z:"}};
  for (const auto& each : cases) {
    EXPECT_EQ(PathToDriveLetter(each.given, each.colon, u"Z:"), each.letter) << ToUtf8(each.given);
  }
}

}  // namespace
}  // namespace ovs
