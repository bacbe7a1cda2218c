#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "os/WindowsPath.h"

namespace ovs {
namespace {

TEST(WindowsPath, IsTakenApartAndPutTogether) {
  struct {
    TextView path, joined;
    bool trailing;
  } const cases[] = {{u"c:\\Users\\x.txt", u"C:\\Users\\x.txt", false},
                     {u"C:\\", u"C:\\", true},
                     {u"C:/a//b\\", u"C:\\a\\b", true},
                     {u"C:\\a\\.\\b\\..\\c", u"C:\\a\\c", false},
                     {u"C:\\..\\..\\a", u"C:\\a", false},
                     {u"C:\\a. . \\b...", u"C:\\a\\b", false},

                     {u"\\\\server\\share\\a\\..\\..\\b", u"\\\\server\\share\\b", false},
                     {u"\\\\server\\share", u"\\\\server\\share\\", true},
                     {u"\\\\?\\c:\\a. \\..b", u"C:\\a. \\..b", false},
                     {u"\\\\?\\UNC\\server\\share\\a", u"\\\\server\\share\\a", false},

                     // From the folder D:\work\here:
                     {u"x", u"D:\\work\\here\\x", false},
                     {u"..\\x", u"D:\\work\\x", false},
                     {u"\\x", u"D:\\x", false},
                     {u"d:x", u"D:\\work\\here\\x", false},
                     {u"E:x", u"E:\\x", false}};
  for (const auto& each : cases) {
    WindowsPath split;
    ASSERT_TRUE(SplitWindowsPath(each.path, u"D:\\work\\here", split).Ok()) << ToUtf8(each.path);
    EXPECT_EQ(JoinWindowsPath(split), each.joined) << ToUtf8(each.path);
    EXPECT_EQ(split.trailing, each.trailing) << ToUtf8(each.path);
    // Once plain, a path stays as it is.
    WindowsPath again;
    ASSERT_TRUE(SplitWindowsPath(each.joined, {}, again).Ok()) << ToUtf8(each.joined);
    if (!each.path.starts_with(u"\\\\?\\")) {
      EXPECT_EQ(again.names, split.names) << ToUtf8(each.path);
    }
  }
}

TEST(WindowsPath, RefusesWhatIsNone) {
  const std::pair<Text, os::Error> cases[] = {{u"", SystemError::kPathNotFound},
                                              {u"relative", SystemError::kPathNotFound},  // and no folder to count from

                                              {u"\\\\?\\1:\\a", SystemError::kPathNotFound},
                                              {u"\\\\?\\C:a", SystemError::kPathNotFound},
                                              {u"C:\\a?", SystemError::kInvalidName},

                                              {u"C:\\a\nb", SystemError::kInvalidName},
                                              {Text(u"C:\\a\0b", 6), SystemError::kInvalidName},
                                              {u"\\\\?\\C:\\a/b", SystemError::kInvalidName},
                                              {u"\\\\?\\C:\\a\\\\b", SystemError::kInvalidName},
                                              {u"\\\\server", SystemError::kInvalidName},

                                              {u"\\\\.\\C:", SystemError::kInvalidName}};
  for (const auto& [path, error] : cases) {
    WindowsPath split;
    EXPECT_EQ(SplitWindowsPath(path, {}, split), error) << ToUtf8(path);
  }
}

}  // namespace
}  // namespace ovs
