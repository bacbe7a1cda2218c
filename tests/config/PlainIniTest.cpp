#include "config/PlainIni.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"

namespace ovs {
namespace {

constexpr TextView kNone = u"<none>";

Text RawOrNone(const PlainIni& ini, TextView section, TextView key) {
  return Text(ini.RawValue(section, key).value_or(kNone));
}

struct Case {
  const char* name;
  Text content;
  TextView section;
  TextView key;
  TextView raw;
};

TEST(PlainIni, OneKeyOfOneFile) {
  const Case cases[] = {
      {"plain", u"[s]\r\nk=v\r\n", u"s", u"k", u"v"},
      {"names in any case", u"[SeCt]\r\nKeY=Va", u"sEcT", u"kEy", u"Va"},
      {"case beyond ASCII", u"[\u00e9\u03c3]\n\u0436=v", u"\u00c9\u03a3", u"\u0416", u"v"},
      {"blanks around the asked names", u"[s]\nk=v", u" s ", u"  k ", u"v"},
      {"a tab in the asked name counts", u"[s]\nk=v", u"s", u"\tk", kNone},
      {"missing key", u"[s]\nk=v", u"s", u"kk", kNone},
      {"empty file", u"", u"s", u"k", kNone},
      {"first key of a name", u"[s]\nk=1\nK=2", u"s", u"k", u"1"},
      {"first section of a name", u"[s]\na=1\n[t]\n[S]\nk=2", u"s", u"k", kNone},
      {"a key ends with its section", u"[s]\na=1\n[t]\nk=2", u"s", u"k", kNone},
      {"before the first section", u"k=v\n[s]\n", u"", u"k", kNone},
      {"section without name", u"x=1\n[]\nk=v", u"", u"k", u"v"},
      {"white space everywhere", u" \t\v\f[ \ts\v ] \n \tk\f =\t v \x1a\n", u"s", u"k", u"v"},
      {"inner white space stays", u"[s t]\na  b= c\t d ", u"s t", u"a  b", u"c\t d"},
      {"a no-break space is text", u"[s]\nk=\u00a0v\u3000", u"s", u"k", u"\u00a0v\u3000"},
      {"quotes stay in the raw value", u"[s]\nk= \" v \" ", u"s", u"k", u"\" v \""},
      {"more than one =", u"[s]\nk==a=b=", u"s", u"k", u"=a=b="},
      {"empty value", u"[s]\nk=\nk=2", u"s", u"k", u""},
      {"a key without = hides a later one", u"[s]\nk\nk=2", u"s", u"k", kNone},
      {"a key without name", u"[s]\n = v", u"s", u"", u"v"},
      {"a remark behind a value is part of it", u"[s]\nk=1 ; one", u"s", u"k", u"1 ; one"},
      {"a remark is no key", u"[s]\n;k=v", u"s", u";k", kNone},
      {"a value may begin with ;", u"[s]\nk=;v", u"s", u"k", u";v"},
      {"header without end", u"[s\nk=v", u"s", u"k", u"v"},
      {"a name ends at the first ]", u"[a]b]\nk=v", u"a", u"k", u"v"},
      {"text behind a header", u"[s] ; see [1]\nk=v", u"s", u"k", u"v"},
      {"a key behind a header is lost", u"[s]k=v", u"s", u"k", kNone},
      {"lines ended by CR", u"[s]\rk=v\rl=w", u"s", u"k", u"v"},
      {"CR and LF mixed", u"[s]\nk=v\rl=w\r\nm=x\n\rn=y", u"s", u"n", u"y"},
      {"CR inside a line of LF", u"[s]\nk=a\rb\nl=w", u"s", u"k", u"a"},
      {"other separators are text", u"[s]\nk=a\u0085b\u2028c\n", u"s", u"k", u"a\u0085b\u2028c"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(RawOrNone(PlainIni(each.content), each.section, each.key), each.raw) << each.name;
  }
}

TEST(PlainIni, KnowsItsSections) {
  const PlainIni ini(u"x=1\n[Empty]\n[ Log File \n;[Remark]\n");
  for (const TextView there : {u"empty", u"log file", u" EMPTY "}) EXPECT_TRUE(ini.HasSection(there));
  for (const TextView absent : {u"", u"x", u"Remark", u"Log"}) EXPECT_FALSE(ini.HasSection(absent));
  EXPECT_FALSE(PlainIni().HasSection(u""));
  EXPECT_EQ(RawOrNone(PlainIni(), u"", u""), kNone);
}

TEST(PlainIni, ACopyOutlivesTheOriginal) {
  std::optional<PlainIni> original(Text(u"[s]\nk=") + Text(100, u'v'));
  const PlainIni copy = *original;
  original.reset();
  EXPECT_EQ(RawOrNone(copy, u"s", u"k"), Text(100, u'v'));
}

TEST(ProfileValue, QuotesAndBlanks) {
  const std::pair<TextView, TextView> cases[] = {{u"v", u"v"},
                                                 {u"", u""},
                                                 {u"\"v\"", u"v"},
                                                 {u"'v'", u"v"},
                                                 {u"\" v w \"", u"v w"},
                                                 {u"\"v", u"\"v"},
                                                 {u"v\"", u"v\""},
                                                 {u"\"v'", u"\"v'"},
                                                 {u"\"", u"\""},
                                                 {u"\"\"", u""},
                                                 {u"''", u""},
                                                 {u"\" \"", u""},
                                                 {u"\"\"v\"\"", u"\"v\""},
                                                 {u"'\"v\"'", u"\"v\""},
                                                 {u"\"a\" \"b\"", u"a\" \"b"},
                                                 {u"a \"b\"", u"a \"b\""},
                                                 {u"\"\tv\"", u"\tv"},
                                                 {u"a\0b", u"a\0b"},
                                                 {TextView(u"a \0b", 4), u"a"}};
  for (const auto& [raw, value] : cases) EXPECT_EQ(ProfileValue(raw), value);
}

TEST(ProfileValue, LongValuesAreCut) {
  for (const std::size_t length : {0u, 1u, 8190u, 8191u, 8192u, 8193u, 16382u, 16383u, 16384u, 1u << 20}) {
    const Text value(length, u'x');
    for (const Text& raw : {value, u'"' + value + u'"'}) {
      EXPECT_EQ(ProfileValue(raw), Text(std::min<std::size_t>(length, 8191), u'x')) << length;
      EXPECT_EQ(IsCutValue(raw), length > 8191) << length;
    }
  }
  // Blanks that a cut brings to the end go too; those that a quote kept count among the 8,191.
  EXPECT_EQ(ProfileValue(Text(8190, u'x') + u"  y"), Text(8190, u'x'));
  EXPECT_EQ(ProfileValue(u"' " + Text(8192, u'x') + u"'"), Text(8190, u'x'));
  EXPECT_FALSE(IsCutValue(u"\" a \""));
}

// Every line that counts for something, with the number that an editor shows.
TEST(PlainIni, LinesAsTheyStand) {
  const PlainIni ini(u"\r\nk=0\n\r\r; r\r\n[ a ] x\n\n k = v \nk2\r\r\n[b\nk=");
  std::string lines;
  for (const PlainIni::Line& line : ini.Lines()) {
    lines += std::to_string(line.number) + "SKR"[static_cast<int>(line.kind)] + ToUtf8(line.name) +
             (line.value ? "=" + ToUtf8(*line.value) : "") + "|" + ToUtf8(line.whole) + "\n";
  }
  EXPECT_EQ(lines, "2Kk=0|k=0\n5R|; r\n6Sa|[ a ] x\n8Kk=v|k = v\n9Kk2|k2\n11Sb|[b\n12Kk=|k=\n");
}

}  // namespace
}  // namespace ovs
