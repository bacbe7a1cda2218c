#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "os/PendingError.h"
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
    const auto split = SplitWindowsPath(each.path, u"D:\\work\\here");
    ASSERT_TRUE(split) << ToUtf8(each.path);
    EXPECT_EQ(JoinWindowsPath(*split), each.joined) << ToUtf8(each.path);
    EXPECT_EQ(split->trailing, each.trailing) << ToUtf8(each.path);
    // Once plain, a path stays as it is.
    const auto again = SplitWindowsPath(each.joined, {});
    ASSERT_TRUE(again) << ToUtf8(each.joined);
    if (!each.path.starts_with(u"\\\\?\\")) {
      EXPECT_EQ(again->names, split->names) << ToUtf8(each.path);
    }
  }
}

TEST(WindowsPath, RefusesWhatIsNone) {
  const std::pair<Text, std::uint32_t> cases[] = {
      {u"", SystemErrorNumber::kPathNotFound},
      {u"relative", SystemErrorNumber::kPathNotFound},  // and no folder to count from

      {u"\\\\?\\1:\\a", SystemErrorNumber::kPathNotFound},
      {u"\\\\?\\C:a", SystemErrorNumber::kPathNotFound},
      {u"C:\\a?", SystemErrorNumber::kInvalidName},

      {u"C:\\a\nb", SystemErrorNumber::kInvalidName},
      {Text(u"C:\\a\0b", 6), SystemErrorNumber::kInvalidName},
      {u"\\\\?\\C:\\a/b", SystemErrorNumber::kInvalidName},
      {u"\\\\?\\C:\\a\\\\b", SystemErrorNumber::kInvalidName},
      {u"\\\\server", SystemErrorNumber::kInvalidName},

      {u"\\\\.\\C:", SystemErrorNumber::kInvalidName}};
  for (const auto& [path, number] : cases) {
    SetPendingSystemError(0);
    EXPECT_FALSE(SplitWindowsPath(path, {})) << ToUtf8(path);
    EXPECT_EQ(TakePendingSystemError(), number) << ToUtf8(path);
  }
}

}  // namespace
}  // namespace ovs
