#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "os/System.h"

namespace ovs {
namespace {

// A rule that an editor saved as "ANSI" on a Windows of another language.
TEST(CodePageTest, FilesWithoutAMarkAreOfTheCodePageInUse) {
  struct {
    std::uint32_t page;
    std::string_view bytes;
    TextView text;
  } const cases[] = {{1251, "\xC4\xE8\xF1\xEA", u"\u0414\u0438\u0441\u043A"},
                     {932, "\x83\x66\x83\x42", u"\u30C7\u30A3"},
                     {1252, "\xC4\xE8", u"\u00C4\u00E8"},
                     {65001, "\xC4\xE8", u"\u00C4\u00E8"}};
  for (const auto& each : cases) {
    EXPECT_TRUE(os::UseAnsiCodePage(each.page));
    EXPECT_EQ(DecodeFile(each.bytes), each.text) << each.page;
    bool lossless = false;
    EXPECT_EQ(EncodeFor(FileEncoding::Ansi, each.text, &lossless), each.bytes) << each.page;
    EXPECT_TRUE(lossless);
    EXPECT_EQ(EncodeFor(FileEncoding::Ansi, u"a\u2603\n", &lossless), "a\\u2603\n");
    EXPECT_FALSE(lossless);
  }
  EXPECT_FALSE(os::UseAnsiCodePage(99'999));
  EXPECT_TRUE(os::UseAnsiCodePage());
}

}  // namespace
}  // namespace ovs
