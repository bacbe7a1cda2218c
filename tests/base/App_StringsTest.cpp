#include "base/App_Strings.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/Encoding.h"
#include "base/Vell_String.h"

namespace ovs {
namespace {

using namespace App_Strings;

const Text kTwoNuls(2, kNul);

// A row holds the outcome of one call and the outcome that is right.
using Rows = std::initializer_list<std::pair<Text, TextView>>;
void ExpectEach(Rows rows) {
  for (const auto& [got, right] : rows) EXPECT_EQ(ToUtf8(got), ToUtf8(right));
}

// Truths as one text: "10" is true, false.
template <class... Truths>
Text Bits(Truths... truths) {
  return ((truths ? Text(u"1") : Text(u"0")) + ...);
}

TEST(StringsMatch, IsEqualityWithoutOuterBlanks) {
  const auto match = [](TextView a, TextView b) { return Bits(StringsMatch(a, b), StringsMatch(b, a, true)); };
  ExpectEach({{match(u"  ABC ", u"abc"), u"10"},
              {match(u" abc", u"abc  "), u"11"},
              {match(u"  ", u""), u"11"},
              {match(u"\tabc", u"abc"), u"00"},  // a tab is no blank
              {match(u"ÄÖ", u"äö"), u"10"}});
}

TEST(StringStartsWith, AndItsMirrorImage) {
  const auto with = [](TextView string, TextView part) {  // starts, starts trimmed, ends, ends trimmed
    return Bits(StringStartsWith(string, part), StringStartsWith(string, part, false, true), StringEndsWith(string, part),
                StringEndsWith(string, part, false, true));
  };
  ExpectEach({{with(u"Rules.DAT", u"rules"), u"1100"},
              {with(u"Rules.DAT", u".dat"), u"0011"},
              {with(u"anything", u""), u"1111"},
              {with(u"ab", u"abc"), u"0000"},
              {with(u"  ab", u"ab"), u"0111"},
              {with(u"ab  ", u"ab"), u"1101"},
              {with(u"ab", u" ab "), u"1111"},    // blanks at the ends of both never count
              {with(u"abc", u" ab"), u"0100"}});  // three characters are compared or two
  EXPECT_FALSE(StringStartsWith(u"Abc", u"abc", true) || StringEndsWith(u"Abc", u"abc", true));
}

TEST(TrimLeft, TrimRightAndBothEndsCountWhatTheyRemove) {
  const auto shown = [](int count, const Text& left) { return Text(1, static_cast<char16_t>(u'0' + count)) + u":" + left; };
  const auto trim = [&](Text string, TextView text, int most) {
    Text right = string;
    int counts[2] = {9, 9};
    TrimLeft(string, text, most, counts[0]);
    TrimRight(right, text, most, counts[1]);
    return shown(counts[0], string) + u" " + shown(counts[1], right);
  };
  ExpectEach({{trim(u"xXabxX", u"x", -1), u"2:abxX 2:xXab"},
              {trim(u"xxabxx", u"x", 1), u"1:xabxx 1:xxabx"},
              {trim(u"xxabxx", u"x", -2), u"0:xxabxx 0:xxabxx"},
              {trim(u"ababa", u"ab", -1), u"2:a 0:ababa"},
              {trim(u"xx", u"x", -1), u"2: 2:"},
              {trim(u"x", u"", -1), u"0:x 0:x"}});
  Text text = u"xXa";
  int count = 0;
  EXPECT_EQ(TrimLeft(text, u"x", -1, count, true), u"Xa");

  const auto both = [&](Text string, TextView part, bool once, bool bothRequired, bool keepIfWhole) {
    const int removals = TrimBothEnds(string, part, once, bothRequired, keepIfWhole);
    return shown(removals, string);
  };
  ExpectEach({{both(u"\r\n\r\nx\r\n", u"\r\n", false, false, false), u"3:x"},
              {both(u"\r\n\r\nx\r\n", u"\r\n", true, false, false), u"2:\r\nx"},
              {both(u"\r\n\r\nx\r\n", u"\r\n", false, true, false), u"2:\r\nx"},
              {both(u"\r\n", u"\r\n", false, false, true), u"0:\r\n"},
              {both(u"AxXa", u"a", false, true, false), u"2:xX"},
              {both(u"aaxaa", u"a", true, true, false), u"2:axa"},
              {both(u"aaxaa", u"a", false, true, true), u"4:x"},
              {both(u"a", u"a", false, true, false), u"1:"},
              {both(u"x", u"", false, false, false), u"0:x"}});
}

TEST(StripString, FourPartsAndTwoOptions) {
  using enum StripReturn;
  const auto strip = [](Text string, TextView delimiter, StripReturn kind, bool include, bool trim) {
    const std::size_t position = StripString(string, delimiter, kind, include, trim);
    return Text(1, static_cast<char16_t>(u'0' + position)) + u":" + string;
  };
  ExpectEach({{strip(u"a.b.c", u".", AfterFirst, false, false), u"2:b.c"},
              {strip(u"a.b.c", u".", AfterLast, false, false), u"4:c"},
              {strip(u"a.b.c", u".", BeforeFirst, false, false), u"2:a"},
              {strip(u"a.b.c", u".", BeforeLast, false, false), u"4:a.b"},
              {strip(u"a.b.c", u".", AfterFirst, true, false), u"2:.b.c"},
              {strip(u"a.b.c", u".", BeforeLast, true, false), u"4:a.b."},
              {strip(u" a = b ", u"=", AfterFirst, false, true), u"4:b "},
              {strip(u" a = b ", u"=", BeforeLast, false, true), u"4: a"},
              {strip(u"a<SEP>b<sep>c", u"<Sep>", AfterFirst, false, false), u"2:b<sep>c"},  // any case
              {strip(u"aaa", u"aa", AfterLast, false, false), u"2:"},
              {strip(u"abc", u".", AfterLast, true, true), u"0:abc"},
              {strip(u" abc ", u"", BeforeLast, true, true), u"0: abc "}});
}

TEST(Split, AtOneDelimiterOrAtEach) {
  const auto split = [](Text text, TextView at, bool first, bool trim) {
    Text suffix;
    const bool found = SplitString(text, at, first, trim, text, suffix);  // the output may be the input
    return (found ? u"" : u"no: ") + text + u"|" + suffix;
  };
  ExpectEach({{split(u"a = b = c", u"=", true, true), u"a|b = c"},
              {split(u"a = b = c", u"=", false, false), u"a = b | c"},
              {split(u" a ", u"=", true, true), u"no: a|"},
              {split(u"a", u"", true, false), u"no: a|"}});
  const std::pair<TextView, std::vector<Text>> cases[] = {
      {u"", {u""}}, {u"a", {u"a"}}, {u"a<sep><sep>b<SEP>c<sep>", {u"a", u"", u"b<SEP>c", u""}}};
  for (const auto& [text, pieces] : cases) {
    EXPECT_EQ(Split(text, u"<sep>"), pieces);
    EXPECT_EQ(Join(pieces, u"<sep>"), text);
  }
  EXPECT_EQ(Split(u"ab", u""), std::vector<Text>{u"ab"});
}

TEST(Paths, AreCutByTheirLastDelimiter) {
  const auto cut = [](TextView path) { return StripFileExtension(path) + u"|" + StripPath(path); };
  Text folder = u"C:\\A";
  EnsureStringEndsWith(folder, u"\\");
  EnsureStringEndsWith(folder, u"a\\");
  Text root;
  EnsureStringEndsWith(root, u"\\");
  ExpectEach({{cut(u"C:\\a.b\\c.d.txt"), u"C:\\a.b\\c.d|c.d.txt"},
              {cut(u"C:\\a.b\\c"), u"C:\\a.b\\c|c"},
              {cut(u"name"), u"name|name"},
              {cut(u"C:\\a\\"), u"C:\\a\\|"},
              {cut(u".txt"), u"|.txt"},
              {cut(u""), u"|"},
              {StripTrailingBackslash(u"C:\\a\\\\"), u"C:\\a\\"},
              {folder, u"C:\\A\\"},
              {root, u"\\"}});
}

TEST(Visualize, LineBreaksThereAndBackAndNullsInPairs) {
  for (const auto& [text, shown] : std::initializer_list<std::pair<TextView, TextView>>{
           {u"", u""}, {u"a\r\nb", u"a<CRLF>b"}, {u"\r\r\n\n", u"<CR><CRLF><LF>"}, {u"\n\r", u"<LF><CR>"}}) {
    EXPECT_EQ(VisualizeLineBreaks(text, true), shown);
    EXPECT_EQ(VisualizeLineBreaks(shown, false), text);
  }
  const auto nulls = [](Text text) { return VisualizeNulls(text), text; };
  ExpectEach({{VisualizeLineBreaks(u"<crlf><CR", false), u"<crlf><CR"},
              {nulls(u"none"), u"none"},
              {nulls(Text(u"a\0b", 3)), u"a<NULL>b"},
              {nulls(kTwoNuls), u"<M_NULL>"},
              {nulls(kTwoNuls + kNul), u"<M_NULL><NULL>"},
              {nulls(kTwoNuls + kTwoNuls), u"<M_NULL>"},
              {nulls(Text(9, kNul)), u"<M_NULL><NULL>"},
              {nulls(Text(u"a\0b\0", 4)), u"a<NULL>b<NULL>"},
              {nulls(Text(1000, kNul)), u"<M_NULL>"},
              {nulls(u"<NULL><NULL>" + Text(1, kNul)), u"<NULL><NULL><NULL>"},  // one NUL: nothing is joined
              {RemoveNuls(kTwoNuls + u"a" + kTwoNuls), u"a"}});
}

TEST(SmallHelpers, DatesWordsReplaceOccursAndCharacterSets) {
  const auto stripped = [](Text date, TextView with) { return StripNonNumericValuesFromTimeDateString(date, with), date; };
  ExpectEach({{stripped(u"03/04/2024 1:05 PM", u""), u"03042024105"},
              {stripped(u"2024-03-04 13h05s.\\", u""), u"202403041305"},
              {stripped(u"03/04/2024 1:05 AM", u"-"), u"03-04-2024-1-05---"},
              {stripped(u"1/2", u"a/"), u"1a//2"},  // what was put in for one kind is there for the next
              {stripped(u"Noon", u""), u"Noon"},
              {ReplaceAll(u"aaAa", u"aa", u"a"), u"aAa"},
              {ReplaceAll(u"aaAa", u"aa", u"b", false), u"bb"},
              {ReplaceAll(u"a", u"", u"b"), u"a"},
              {Bits(OccursMoreThanOnce(u"aaa", u"aa"), OccursMoreThanOnce(u"aA", u"a", true)), u"10"},
              {Bits(OccursMoreThanOnce(u"", u"")), u"0"},
              {Bits(HasUnicodeCharacters(u"C:\\\u0394"), UseWideAPI(u"C:\\\u20AC\u00FC")), u"10"}});
  for (const auto& [text, words] : std::initializer_list<std::pair<TextView, std::size_t>>{
           {u"", 0}, {u" \t\r\n", 0}, {u"one", 1}, {u" one\ttwo\r\nthree ", 3}, {u"a,b", 1}}) {
    EXPECT_EQ(WordCount(text), words) << ToUtf8(text);
  }
}

TEST(Vell_String, WritesLinesAndKeepsTheRest) {
  Vell_String text;
  text.AddLine(u"one");
  text.AddLine(u"");
  text.SetLineBreaks(false);
  text.AddLine(u"two");
  text.AddLine(u"");
  text.Add(u"");
  EXPECT_EQ(text.GetStr(), u"\r\none\r\ntwo\r\n");
  text.WipeString();
  EXPECT_EQ(text.GetStr(), u"");
  Text expected;
  for (int i = 0; i < 3000; ++i) {
    const Text piece(static_cast<std::size_t>(i % 7), static_cast<char16_t>(u'a' + i % 26));
    text.Add(piece);
    expected += piece;
  }
  text.Add(Text(100'000, u'z'));
  EXPECT_EQ(text.GetStr(), expected + Text(100'000, u'z'));
  EXPECT_EQ(text.Count(), expected.size() + 100'000);
}

}  // namespace
}  // namespace ovs
