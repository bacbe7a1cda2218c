#include <gtest/gtest.h>

#include <random>

#include "base/Encoding.h"

namespace ovs {
namespace {

TEST(Utf8, ValidAndInvalidSequences) {
  struct {
    std::string_view bytes;
    TextView text;  // what it is decoded to
    bool valid;
  } const cases[] = {{"", u"", true},
                     {"plain ASCII that is longer than eight", u"plain ASCII that is longer than eight", true},
                     {"1234567\xC3\xBC", u"1234567\u00FC", true},
                     {"\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"\u07FF\u0800\uFFFF", true},
                     {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF", true},
                     {"\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000", true},
                     {"\xEF\xBB\xBFx", u"\uFEFFx", true},
                     {"a\x80z", u"a\uFFFDz", false},
                     {"\xC3", u"\uFFFD", false},
                     {"\xE2\x82z", u"\uFFFDz", false},
                     {"\xF0\x9F\x98\xC3\xBC", u"\uFFFD\u00FC", false},
                     {"\xC0\x80", u"\uFFFD\uFFFD", false},  // overlong
                     {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD", false},
                     {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
                     {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},  // an encoded surrogate
                     {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
                     {"\xF5\xFF", u"\uFFFD\uFFFD", false},
                     {"Gr\xFC\xDF\x65", u"Gr\uFFFD\uFFFDe", false}};
  for (const auto& each : cases) {
    EXPECT_EQ(FromUtf8(each.bytes), each.text) << each.bytes;
    EXPECT_EQ(IsValidUtf8(each.bytes), each.valid) << each.bytes;
    if (each.valid) {
      EXPECT_EQ(ToUtf8(each.text), each.bytes);
    }
  }
}

// Valid and broken characters at random; the checker must not care where the chunks end.
TEST(Utf8, ChunksGiveTheAnswerOfTheWhole) {
  constexpr std::string_view kPieces[] = {"a",        "12345678", "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                          "\xE2\x82", "\x80"};
  std::mt19937 random(7);
  const auto below = [&](std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
  int invalid = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string bytes;
    const std::size_t kinds = below(3) == 0 ? std::size(kPieces) : std::size(kPieces) - 2;
    for (std::size_t count = below(12); count > 0; --count) bytes += kPieces[below(kinds)];
    if (below(4) == 0) bytes.resize(below(bytes.size() + 1));
    const bool valid = FromUtf8(bytes).find(kReplacementUnit) == Text::npos;
    Utf8Checker checker;
    for (std::string_view rest = bytes; !rest.empty();) {
      const std::string_view chunk = rest.substr(0, below(4));
      checker.Feed(chunk);
      rest.remove_prefix(chunk.size());
    }
    ASSERT_EQ(checker.Finish(), valid) << bytes;
    ASSERT_EQ(IsValidUtf8(bytes), valid) << bytes;
    if (valid) {
      ASSERT_EQ(ToUtf8(FromUtf8(bytes)), bytes);
    }
    invalid += valid ? 0 : 1;
  }
  EXPECT_GT(invalid, 300);
}

TEST(Windows1252, AllBytesGoRoundAndStrangersAreEscaped) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  bool lossless = false;
  const Text text = FromWindows1252(all);
  EXPECT_EQ(ToWindows1252(text, lossless), all);
  EXPECT_TRUE(lossless);
  EXPECT_TRUE(IsWindows1252(text));
  EXPECT_EQ(FromWindows1252("\x80\x8A\x9F\x81\xE4"), u"\u20AC\u0160\u0178\u0081\u00E4");

  EXPECT_EQ(ToWindows1252(u"\u20AC \u0394\xD83D\xDE00\u0080", lossless), "\x80 \\u0394\\uD83D\\uDE00\\u0080");
  EXPECT_FALSE(lossless);
  EXPECT_FALSE(IsWindows1252(u"\u0394"));
}

TEST(FileEncoding, IsDetectedDecodedAndContinued) {
  using enum FileEncoding;
  struct {
    std::string file;
    FileEncoding encoding;
    Text text;
  } const cases[] = {{"", Utf8, u""},
                     {"Gr\xC3\xBC\xC3\x9F", Utf8, u"Grüß"},
                     {"Gr\xFC\xDF", Ansi, u"Grüß"},
                     {"\xEF\xBB\xBFGr\xC3\xBC", Utf8Mark, u"Grü"},
                     {"\xEF\xBB\xBF\xFC", Utf8Mark, u"\uFFFD"},  // the mark decides
                     {"\xEF\xBB", Ansi, u"\u00EF\u00BB"},        // half a mark is none
                     {std::string("\xFF\xFE\x41\0\xFC\0\x3D\xD8", 8), Utf16Le, u"A\u00FC\xD83D"},
                     {std::string("\xFF\xFE\x41\0B", 5), Utf16Le, u"A\uFFFD"},
                     {std::string("\xFE\xFF\0A", 4), Ansi, Text(u"\u00FE\u00FF\0A", 4)},  // big-endian is not known
                     {std::string("a\0b", 3), Utf8, Text(u"a\0b", 3)}};
  for (const auto& each : cases) {
    EXPECT_EQ(DetectEncoding(each.file), each.encoding) << each.file;
    EXPECT_EQ(DecodeFile(each.file), each.text) << each.file;
    bool lossless = false;
    const std::string more = EncodeFor(each.encoding, u"\u00E9\r\n", &lossless);
    EXPECT_TRUE(lossless);
    EXPECT_EQ(DecodeBytes(more, each.encoding), u"\u00E9\r\n");
    EXPECT_TRUE(each.file.starts_with(MarkOf(each.encoding)));
  }
}

TEST(FileEncoding, TellsWhatCouldNotBeWritten) {
  struct {
    FileEncoding encoding;
    TextView text;
    std::string_view bytes;
    bool lossless;
  } const cases[] = {{FileEncoding::Utf16Le, u"\xD83D", "\x3D\xD8", true},
                     {FileEncoding::Utf8, u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD", false},
                     {FileEncoding::Utf8, u"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80", false},
                     {FileEncoding::Utf8Mark, u"\u0394", "\xCE\x94", true},
                     {FileEncoding::Ansi, u"\u0394", "\\u0394", false}};
  for (const auto& each : cases) {
    bool lossless = !each.lossless;
    EXPECT_EQ(EncodeFor(each.encoding, each.text, &lossless), each.bytes);
    EXPECT_EQ(lossless, each.lossless) << each.bytes;
    EXPECT_EQ(EncodeFor(each.encoding, each.text), each.bytes);
  }
}

}  // namespace
}  // namespace ovs
