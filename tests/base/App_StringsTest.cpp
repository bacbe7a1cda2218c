#include <gtest/gtest.h>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Vell_String.h"

namespace ovs {
namespace {

using namespace App_Strings;

const Text kTwoNuls(2, kNul);

TEST(StringsMatch, IsEqualityWithoutOuterBlanks) {
  struct {
    TextView a, b;
    bool text, binary;
  } const cases[] = {{u"  ABC ", u"abc", true, false},
                     {u" abc", u"abc  ", true, true},
                     {u"  ", u"", true, true},
                     {u"\tabc", u"abc", false, false},  // a tab is no blank
                     {u"ÄÖ", u"äö", true, false}};
  for (const auto& each : cases) {
    EXPECT_EQ(StringsMatch(each.a, each.b), each.text) << ToUtf8(each.a);
    EXPECT_EQ(StringsMatch(each.b, each.a, true), each.binary) << ToUtf8(each.a);
  }
}

TEST(StringStartsWith, AndItsMirrorImage) {
  struct {
    TextView string, part;
    bool starts[2];  // without and with trim
    bool ends[2];
  } const cases[] = {
      {u"Rules.DAT", u"rules", {true, true}, {false, false}},
      {u"Rules.DAT", u".dat", {false, false}, {true, true}},
      {u"anything", u"", {true, true}, {true, true}},

      {u"ab", u"abc", {false, false}, {false, false}},
      {u"  ab", u"ab", {false, true}, {true, true}},
      {u"ab  ", u"ab", {true, true}, {false, true}},
      {u"ab", u" ab ", {true, true}, {true, true}},     // blanks at the ends of both never count
      {u"abc", u" ab", {false, true}, {false, false}},  // three characters are compared or two
  };
  for (const auto& each : cases) {
    for (const bool trim : {false, true}) {
      const std::string shown = ToUtf8(each.string) + "|" + ToUtf8(each.part) + (trim ? " trimmed" : "");
      EXPECT_EQ(StringStartsWith(each.string, each.part, false, trim), each.starts[trim ? 1 : 0]) << shown;
      EXPECT_EQ(StringEndsWith(each.string, each.part, false, trim), each.ends[trim ? 1 : 0]) << shown;
    }
  }
  EXPECT_FALSE(StringStartsWith(u"Abc", u"abc", true));
  EXPECT_FALSE(StringEndsWith(u"Abc", u"abc", true));
}

TEST(TrimLeft, AndTrimRightCountWhatTheyRemove) {
  struct {
    TextView string, text;
    int maxCount;
    TextView left;
    int leftCount;
    TextView right;
    int rightCount;
  } const cases[] = {{u"xXabxX", u"x", -1, u"abxX", 2, u"xXab", 2},
                     {u"xxabxx", u"x", 1, u"xabxx", 1, u"xxabx", 1},

                     {u"xxabxx", u"x", -2, u"xxabxx", 0, u"xxabxx", 0},
                     {u"ababa", u"ab", -1, u"a", 2, u"ababa", 0},
                     {u"xx", u"x", -1, u"", 2, u"", 2},
                     {u"x", u"", -1, u"x", 0, u"x", 0}

  };
  for (const auto& each : cases) {
    Text left(each.string);
    Text right(each.string);
    int count = 99;
    EXPECT_EQ(TrimLeft(left, each.text, each.maxCount, count), each.left);
    EXPECT_EQ(count, each.leftCount) << ToUtf8(each.string);
    EXPECT_EQ(TrimRight(right, each.text, each.maxCount, count), each.right);
    EXPECT_EQ(count, each.rightCount) << ToUtf8(each.string);
  }
  Text text = u"xXa";
  int count = 0;
  EXPECT_EQ(TrimLeft(text, u"x", -1, count, true), u"Xa");
}

TEST(TrimBothEnds, ByItsOptions) {
  struct {
    TextView string, text;
    bool once, bothRequired, keepIfWhole;
    TextView left;
    int removals;
  } const cases[] = {{u"\r\n\r\nx\r\n", u"\r\n", false, false, false, u"x", 3},
                     {u"\r\n\r\nx\r\n", u"\r\n", true, false, false, u"\r\nx", 2},
                     {u"\r\n\r\nx\r\n", u"\r\n", false, true, false, u"\r\nx", 2},
                     {u"\r\n", u"\r\n", false, false, true, u"\r\n", 0},

                     {u"AxXa", u"a", false, true, false, u"xX", 2},
                     {u"aaxaa", u"a", true, true, false, u"axa", 2},
                     {u"aaxaa", u"a", false, true, true, u"x", 4},

                     {u"a", u"a", false, true, false, u"", 1},

                     {u"x", u"", false, false, false, u"x", 0}};
  for (const auto& each : cases) {
    Text string(each.string);
    EXPECT_EQ(TrimBothEnds(string, each.text, each.once, each.bothRequired, each.keepIfWhole), each.removals);
    EXPECT_EQ(string, each.left) << ToUtf8(each.string);
  }
}

TEST(StripString, FourPartsAndTwoOptions) {
  using enum StripReturn;
  struct {
    TextView string, delimiter;
    StripReturn kind;
    bool include, trim;
    TextView kept;
    std::size_t position;
  } const cases[] = {{u"a.b.c", u".", AfterFirst, false, false, u"b.c", 2},
                     {u"a.b.c", u".", AfterLast, false, false, u"c", 4},
                     {u"a.b.c", u".", BeforeFirst, false, false, u"a", 2},
                     {u"a.b.c", u".", BeforeLast, false, false, u"a.b", 4},
                     {u"a.b.c", u".", AfterFirst, true, false, u".b.c", 2},

                     {u"a.b.c", u".", BeforeLast, true, false, u"a.b.", 4},
                     {u" a = b ", u"=", AfterFirst, false, true, u"b ", 4},
                     {u" a = b ", u"=", BeforeLast, false, true, u" a", 4},
                     {u"a<SEP>b<sep>c", u"<Sep>", AfterFirst, false, false, u"b<sep>c", 2},  // any case
                     {u"aaa", u"aa", AfterLast, false, false, u"", 2},

                     {u"abc", u".", AfterLast, true, true, u"abc", 0},
                     {u" abc ", u"", BeforeLast, true, true, u" abc ", 0}};
  for (const auto& each : cases) {
    Text string(each.string);
    EXPECT_EQ(StripString(string, each.delimiter, each.kind, each.include, each.trim), each.position);
    EXPECT_EQ(string, each.kept) << ToUtf8(each.string) << " " << static_cast<int>(each.kind);
  }
}

TEST(SplitString, AtTheFirstOrLastDelimiter) {
  Text prefix = u"a = b = c";
  Text suffix;
  EXPECT_TRUE(SplitString(prefix, u"=", true, true, prefix, suffix));  // the output may be the input
  EXPECT_EQ(prefix + u"|" + suffix, u"a|b = c");
  EXPECT_TRUE(SplitString(u"a = b = c", u"=", false, false, prefix, suffix));
  EXPECT_EQ(prefix + u"|" + suffix, u"a = b | c");
  EXPECT_FALSE(SplitString(u" a ", u"=", true, true, prefix, suffix));
  EXPECT_EQ(prefix + u"|" + suffix, u"a|");
  EXPECT_FALSE(SplitString(u"a", u"", true, false, prefix, suffix));
}

TEST(Split, GivesOnePieceMoreThanThereAreDelimiters) {
  const std::pair<TextView, std::vector<Text>> cases[] = {
      {u"", {u""}}, {u"a", {u"a"}}, {u"a<sep><sep>b<SEP>c<sep>", {u"a", u"", u"b<SEP>c", u""}}};
  for (const auto& [text, pieces] : cases) {
    EXPECT_EQ(Split(text, u"<sep>"), pieces);
    EXPECT_EQ(Join(pieces, u"<sep>"), text);
  }
  EXPECT_EQ(Split(u"ab", u""), std::vector<Text>{u"ab"});
}

TEST(Paths, AreCutByTheirLastDelimiter) {
  struct {
    TextView path, withoutExtension, name;
  } const cases[] = {{u"C:\\a.b\\c.d.txt", u"C:\\a.b\\c.d", u"c.d.txt"},
                     {u"C:\\a.b\\c", u"C:\\a.b\\c", u"c"},
                     {u"name", u"name", u"name"},
                     {u"C:\\a\\", u"C:\\a\\", u""},
                     {u".txt", u"", u".txt"},
                     {u"", u"", u""}};
  for (const auto& each : cases) {
    EXPECT_EQ(StripFileExtension(each.path), each.withoutExtension);
    EXPECT_EQ(StripPath(each.path), each.name);
  }
  EXPECT_EQ(StripTrailingBackslash(u"C:\\a\\\\"), u"C:\\a\\");
  Text folder = u"C:\\A";
  EnsureStringEndsWith(folder, u"\\");
  EnsureStringEndsWith(folder, u"a\\");
  EXPECT_EQ(folder, u"C:\\A\\");
  EnsureStringEndsWith(folder = u"", u"\\");
  EXPECT_EQ(folder, u"\\");
}

TEST(WordCount, BetweenAnyWhiteSpace) {
  const std::pair<TextView, std::size_t> cases[] = {
      {u"", 0}, {u" \t\r\n", 0}, {u"one", 1}, {u" one\ttwo\r\nthree ", 3}, {u"a,b", 1}};
  for (const auto& [text, words] : cases) EXPECT_EQ(WordCount(text), words) << ToUtf8(text);
}

TEST(VisualizeLineBreaks, ThereAndBack) {
  struct {
    TextView text, shown;
  } const cases[] = {{u"", u""}, {u"a\r\nb", u"a<CRLF>b"}, {u"\r\r\n\n", u"<CR><CRLF><LF>"}, {u"\n\r", u"<LF><CR>"}};
  for (const auto& each : cases) {
    EXPECT_EQ(VisualizeLineBreaks(each.text, true), each.shown);
    EXPECT_EQ(VisualizeLineBreaks(each.shown, false), each.text);
  }
  EXPECT_EQ(VisualizeLineBreaks(u"<crlf><CR", false), u"<crlf><CR");
}

TEST(VisualizeNulls, RunsAreShownInPairs) {
  const std::pair<Text, TextView> cases[] = {
      {u"none", u"none"},
      {Text(u"a\0b", 3), u"a<NULL>b"},
      {kTwoNuls, u"<M_NULL>"},
      {kTwoNuls + kNul, u"<M_NULL><NULL>"},
      {kTwoNuls + kTwoNuls, u"<M_NULL>"},
      {Text(9, kNul), u"<M_NULL><NULL>"},
      {Text(u"a\0b\0", 4), u"a<NULL>b<NULL>"},
      {Text(1000, kNul), u"<M_NULL>"},
      {u"<NULL><NULL>" + Text(1, kNul), u"<NULL><NULL><NULL>"},  // one NUL: nothing is joined
  };
  for (auto [text, shown] : cases) {
    VisualizeNulls(text);
    EXPECT_EQ(text, shown);
  }
  EXPECT_EQ(RemoveNuls(kTwoNuls + u"a" + kTwoNuls), u"a");
}

TEST(StripNonNumeric, TakesWhatADateMayHold) {
  struct {
    TextView date, replacement, stripped;
  } const cases[] = {{u"03/04/2024 1:05 PM", u"", u"03042024105"},
                     {u"2024-03-04 13h05s.\\", u"", u"202403041305"},
                     {u"03/04/2024 1:05 AM", u"-", u"03-04-2024-1-05---"},
                     {u"1/2", u"a/", u"1a//2"},  // what was put in for one kind is there for the next
                     {u"Noon", u"", u"Noon"}};
  for (const auto& each : cases) {
    Text date(each.date);
    StripNonNumericValuesFromTimeDateString(date, each.replacement);
    EXPECT_EQ(date, each.stripped) << ToUtf8(each.date);
  }
}

TEST(SmallHelpers, ReplaceOccursAndCharacterSets) {
  EXPECT_EQ(ReplaceAll(u"aaAa", u"aa", u"a"), u"aAa");
  EXPECT_EQ(ReplaceAll(u"aaAa", u"aa", u"b", false), u"bb");
  EXPECT_EQ(ReplaceAll(u"a", u"", u"b"), u"a");
  EXPECT_TRUE(OccursMoreThanOnce(u"aaa", u"aa"));
  EXPECT_FALSE(OccursMoreThanOnce(u"aA", u"a", true));
  EXPECT_FALSE(OccursMoreThanOnce(u"", u""));
  EXPECT_TRUE(HasUnicodeCharacters(u"C:\\\u0394"));
  EXPECT_FALSE(UseWideAPI(u"C:\\\u20AC\u00FC"));
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
