#include "base/TextSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs {
namespace {

// Few different units, so that texts nearly occur everywhere; among them those whose folding is odd: dotless and dotted i,
// long s, Kelvin and Angstrom signs, sigmas, sharp s, and a surrogate pair cut anywhere.
constexpr TextView kUnits = u"aAbB iIsSkK[{@`\u0131\u0130\u017F\u212A\u212B\u00E5\u03C3\u03C2\u03A3\u00DF\xD83D\xDE00";

class Random {
 public:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine_); }
  Text Chars(std::size_t length, std::size_t alphabet) {
    Text text;
    while (text.size() < length) text += kUnits[Below(alphabet)];
    return text;
  }

 private:
  std::mt19937 engine_{20261125};
};

TEST(TextSetTest, FindsExactlyWhatPlainSearchFinds) {
  Random random;
  for (int round = 0; round < 400; ++round) {
    const std::size_t alphabet = random.Below(2) == 0 ? 6 : kUnits.size();
    const std::size_t longest = 1 + random.Below(40);
    std::vector<TextSet::Member> members;
    for (std::size_t count = random.Below(round % 10 == 0 ? 300 : 12); members.size() < count;) {
      members.push_back({random.Chars(random.Below(longest + 1), alphabet), 1u << random.Below(3)});
    }
    const TextSet set(members);
    TextSet::Scratch scratch;
    for (int search = 0; search < 20; ++search) {
      Text haystack = random.Chars(random.Below(200), alphabet);
      if (!members.empty()) haystack.insert(random.Below(haystack.size() + 1), members[random.Below(members.size())].text);
      const auto groups = static_cast<std::uint32_t>(1 + random.Below(7));
      set.Find(haystack, groups, scratch);
      std::ranges::sort(scratch.found);
      std::vector<std::uint32_t> expected;
      for (std::uint32_t i = 0; i < members.size(); ++i) {
        if ((members[i].groups & groups) != 0 && ContainsFolded(haystack, members[i].text)) expected.push_back(i);
      }
      ASSERT_EQ(scratch.found, expected) << ToUtf8(haystack);
    }
  }
}

TEST(TextSetTest, EveryPlaceAndLengthIsFound) {
  for (std::size_t length = 1; length <= 50; ++length) {
    Text needle;
    for (std::size_t i = 0; i < length; ++i) needle += static_cast<char16_t>(u'A' + i % 26);
    std::vector<TextSet::Member> members{{needle}};
    if (length % 2 == 0) {
      for (int other = 0; other < 100; ++other) members.push_back({Text(20, static_cast<char16_t>(0x400 + other))});
    }
    const TextSet set(members);
    TextSet::Scratch scratch;
    for (std::size_t before = 0; before < 40; ++before) {
      Text haystack = Text(before, u'.') + needle;
      set.Find(haystack, 1, scratch);
      EXPECT_EQ(scratch.found, std::vector<std::uint32_t>{0}) << length << " " << before;
      haystack.pop_back();
      set.Find(haystack, 1, scratch);
      EXPECT_TRUE(scratch.found.empty()) << length << " " << before;
    }
  }
}

}  // namespace
}  // namespace ovs
