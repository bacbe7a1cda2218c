#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs {
namespace {

// Field 0 of a line of the Unicode data is the character, field 12 its simple upper case.
std::vector<char16_t> UpperCaseOfUnicodeData(std::ifstream& data) {
  std::vector<char16_t> upper(0x10000);
  for (std::size_t unit = 0; unit < upper.size(); ++unit) upper[unit] = static_cast<char16_t>(unit);
  for (std::string line; std::getline(data, line);) {
    const unsigned long character = std::stoul(line, nullptr, 16);
    std::size_t at = 0;
    for (int field = 0; field < 12; ++field) at = line.find(';', at) + 1;
    const std::string mapped = line.substr(at, line.find(';', at) - at);
    if (character <= 0xFFFF && !mapped.empty()) upper[character] = static_cast<char16_t>(std::stoul(mapped, nullptr, 16));
  }
  return upper;
}

TEST(Fold, EveryUnitAsTheUnicodeDataHasIt) {
  std::ifstream data("/usr/share/unicode/UnicodeData.txt");
  if (!data) GTEST_SKIP() << "no Unicode data on this machine";
  const std::vector<char16_t> upper = UpperCaseOfUnicodeData(data);
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    ASSERT_EQ(FoldUnit(static_cast<char16_t>(unit)), upper[unit]) << std::hex << unit;
  }
}

TEST(Fold, LettersThatGoWrongEasily) {
  struct {
    TextView a, b;
    int order;
  } const cases[] = {{u"", u"a", -1},
                     {u"straße", u"STRAßE", 0},
                     {u"ß", u"\u1E9E", -1},                  // the capital ß has no small form that folds to it
                     {u"\u03C3\u03C2", u"\u03A3\u03A3", 0},  // both small sigmas
                     {u"\u0131I", u"ii", 0},                 // dotless i

                     {u"\u212A", u"k", 1},                   // the Kelvin sign is its own capital
                     {u"\xD801\xDC28", u"\xD801\xDC00", 1},  // a small and a capital letter beyond U+FFFF
                     {u"[", u"a", 1},                        // folded: "[" stands behind "A"

                     {u"ab", u"ABC", -1}};
  for (const auto& each : cases) {
    const std::string shown = ToUtf8(each.a) + " " + ToUtf8(each.b);
    EXPECT_EQ(CompareFolded(each.a, each.b), each.order) << shown;
    EXPECT_EQ(CompareFolded(each.b, each.a), -each.order) << shown;
    EXPECT_EQ(EqualsFolded(each.a, each.b), each.order == 0) << shown;
  }
}

// --- The rules themselves, unit by unit

std::size_t NaiveFind(TextView hay, TextView needle, std::size_t from) {
  for (; from <= hay.size() && needle.size() <= hay.size() - from; ++from) {
    std::size_t same = 0;
    while (same < needle.size() && FoldUnit(hay[from + same]) == FoldUnit(needle[same])) ++same;
    if (same == needle.size()) return from;
  }
  return kTextNotFound;
}

void ExpectAsNaive(TextView text, TextView needle, std::size_t from) {
  // Without the NUL that ends a Text: reading beyond the end is then seen.
  const std::vector<char16_t> units(text.begin(), text.end());
  const TextView hay(units.data(), units.size());
  std::size_t last = kTextNotFound;
  for (std::size_t at = NaiveFind(hay, needle, 0); at != kTextNotFound; at = NaiveFind(hay, needle, at + 1)) last = at;
  const auto shown = [&] { return ToUtf8(needle) + " in " + ToUtf8(hay) + " from " + std::to_string(from); };
  ASSERT_EQ(FindFolded(hay, needle, from), NaiveFind(hay, needle, from)) << shown();
  ASSERT_EQ(FindLastFolded(hay, needle), last) << shown();
}

// Few different units, so that beginnings of the needle occur often; some are equal to others without regard to case.
Text RandomText(std::mt19937& random, std::size_t size, bool asciiOnly) {
  static constexpr TextView kUnits = u"aAabBzZsS[{iI\u0131\u0130\u017F\u212A\u00E9\u00C9\xD801\xDC28";
  std::uniform_int_distribution<std::size_t> pick(0, asciiOnly ? 12 : kUnits.size() - 1);
  Text text(size, u' ');
  for (char16_t& unit : text) unit = kUnits[pick(random)];
  return text;
}

// Needles of all lengths from none on, at every place of a block, also longer than the text or sought behind its end.
TEST(Fold, GeneratedTextsAgreeWithTheNaiveRules) {
  EXPECT_EQ(FindFolded(u"abc", u"c", kTextNotFound), kTextNotFound);
  std::mt19937 random(20240307);
  const auto below = [&](std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
  for (int round = 0; round < 4000; ++round) {
    const bool asciiOnly = below(2) == 0;
    const Text hay = RandomText(random, below(140), asciiOnly);
    Text needle = RandomText(random, below(6), asciiOnly);
    if (below(2) == 0 && !hay.empty()) needle = Fold(hay.substr(below(hay.size()), 1 + below(70)));
    ASSERT_NO_FATAL_FAILURE(ExpectAsNaive(hay, needle, below(hay.size() + 3)));

    Text folded = u"left over";
    FoldInto(hay, folded);
    ASSERT_EQ(folded.size(), hay.size());
    for (std::size_t i = 0; i < hay.size(); ++i) ASSERT_EQ(folded[i], FoldUnit(hay[i]));
    ASSERT_EQ(CompareFolded(hay, needle), folded.compare(Fold(needle)) < 0 ? -1 : EqualsFolded(hay, needle) ? 0 : 1);
  }
}

}  // namespace
}  // namespace ovs
