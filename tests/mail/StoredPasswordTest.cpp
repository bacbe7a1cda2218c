#include "mail/message/StoredPassword.h"

#include <gtest/gtest.h>

#include <set>

#include "base/Encoding.h"

namespace ovs {
namespace {

using StoredPassword::kKey;
using StoredPassword::ScrambleText;
using StoredPassword::UnscrambleText;

TEST(StoredPasswordTest, KnownTextsAndOthers) {
  const std::pair<TextView, TextView> known[] = {
      {u"", u""},
      {u"754B", u""},
      {u"75565C58525B5B0D0843", u"geheim99"},
      {u"75565c58525b5b0d0843", u"geheim99"},
      // Longer than the key, with characters beyond ASCII.
      {u"756BC5425E515E14B1191D175E575A561957525C43534B", u"Zürich € - lang genug"},
  };
  for (const auto& [stored, plain] : known) {
    const auto [text, problem] = UnscrambleText(stored, kKey);
    EXPECT_EQ(text, plain) << ToUtf8(stored);
    EXPECT_EQ(problem, u"");
  }
  for (const TextView bad :
       {u"7", u"754", u"geheim99", u"75 4B", u" 754B", u"-175", u"+175", u"0x754B", u"75\u0664B", u"75"}) {
    const auto [text, problem] = UnscrambleText(bad, kKey);
    EXPECT_EQ(text, u"") << ToUtf8(bad);
    EXPECT_NE(problem, u"") << ToUtf8(bad);
  }
}

TEST(StoredPasswordTest, ThereAndBack) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  for (const Text& plain : {FromWindows1252(bytes), Text(u"x"), Text()}) {
    std::set<Text> forms;
    for (int i = 0; i < 20; ++i) {
      Text stored;
      ASSERT_TRUE(ScrambleText(plain, kKey, os::SystemCrypto(), stored).Ok());
      EXPECT_EQ(stored.size(), 2 * plain.size() + 4);
      EXPECT_EQ(UnscrambleText(stored, kKey).text, plain);
      // With one more character at each end the random ones come out.
      const Text ends = UnscrambleText(u"00" + stored + u"00", u"6419072").text;
      for (const char16_t end : {ends.front(), ends.back()}) EXPECT_TRUE(end > 0x20 && end < 0x7F);
      forms.insert(stored);
    }
    EXPECT_GT(forms.size(), 10u);
  }
  for (const TextView foreign : {u"\u03A9", u"a\uFFFD", u"\xD83D\xDE00"}) {
    Text stored;
    EXPECT_TRUE(ScrambleText(foreign, kKey, os::SystemCrypto(), stored).Failed()) << ToUtf8(foreign);
  }
}

}  // namespace
}  // namespace ovs
