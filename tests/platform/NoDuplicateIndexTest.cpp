#include "platform/NoDuplicateIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>

#include "base/Fold.h"

namespace ovs {
namespace {

// A file that is a string; counts what is read from it.
class StringFile final : public os::ReadFile {
 public:
  os::Error Stamp(os::FileStamp& out) override {
    out.size = content.size();
    return os::kSuccess;
  }
  os::Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    got = 0;
    if (broken) return SystemError::kGeneralFailure;
    const std::string_view rest = std::string_view(content).substr(std::min<std::uint64_t>(offset, content.size()));
    got = std::min({rest.size(), buffer.size(), longestRead});
    std::copy_n(rest.begin(), got, buffer.begin());
    bytesRead += got;
    return os::kSuccess;
  }

  std::string content;
  std::size_t longestRead = 1u << 20;
  std::size_t bytesRead = 0;
  bool broken = false;
};

// The rule itself, word for word.
bool Reference(const std::string& content, TextView entry) {
  return ContainsFolded(DecodeFile(content) + u"\r\n", Text(entry) + u"\r\n");
}

TEST(NoDuplicateIndex, DecidesByTheRule) {
  constexpr TextView kLong = u"03/07/2024 01:05:09 PM  -  Low Disk";
  const std::string longLine = ToUtf8(kLong);
  struct {
    std::string content;
    Text entry;
    bool found;
  } const cases[] = {{longLine, Text(kLong), true},  // the file's end counts as a line's end
                     {longLine + "\r\n", Text(kLong), true},
                     {"x\r\n" + longLine + "\r\ny\r\n", u"03/07/2024 01:05:09 pm  -  LOW disk", true},
                     {longLine + "s\r\n", Text(kLong), false},
                     {"prefix " + longLine + "\r\n", Text(kLong), true},  // a line ends with it
                     {longLine + "\n", Text(kLong), false},               // LF alone ends no line

                     {longLine + "\r\n", u"Low Disk", true},

                     {longLine + "\r\n", u"", true},
                     {"a\r\nb\r\nc\r\n", u"a\r\nb", true},

                     {"a\r\nxb\r\n", u"a\r\nb", false},

                     {"another line with text\r\n", u"\nanother line with text", false},
                     {"a\nanother line with text\r\n", u"\nanother line with text", true}};
  for (const auto& each : cases) {
    StringFile file;
    file.content = each.content;
    ASSERT_EQ(Reference(each.content, each.entry), each.found) << each.content << "|" << ToUtf8(each.entry);
    NoDuplicateIndex index(DetectEncoding(file.content));
    ASSERT_TRUE(index.Build(file).Ok());
    bool found = !each.found;
    EXPECT_TRUE(index.Contains(file, each.entry, found).Ok());
    EXPECT_EQ(found, each.found) << each.content << "|" << ToUtf8(each.entry);
  }
}

std::string InEncoding(FileEncoding encoding, TextView text) {
  return std::string(MarkOf(encoding)) + EncodeFor(encoding, text);
}

// Texts from few words, so that equal lines, lines that end alike and unfinished lines are frequent.
class RandomTexts {
 public:
  explicit RandomTexts(unsigned seed) : random_(seed) {}

  std::size_t Below(std::size_t bound) { return random_() % bound; }

  Text Entry() {
    constexpr TextView kWords[] = {u"Low Disk Space On Server",
                                   u" low disk space on server",
                                   u"A",
                                   u"é€",
                                   u"\r",
                                   u"\n",
                                   u"\r\n",
                                   u"09:15:00  -  ",
                                   u" "};
    Text entry;
    for (std::size_t n = Below(5); n-- > 0;) entry += kWords[Below(std::size(kWords))];
    return entry;
  }

 private:
  std::mt19937 random_;
};

TEST(NoDuplicateIndex, AgreesWithTheRuleOnRandomFilesAndAppends) {
  constexpr FileEncoding kEncodings[] = {FileEncoding::Utf8, FileEncoding::Utf8Mark, FileEncoding::Utf16Le,
                                         FileEncoding::Ansi};
  for (unsigned seed = 0; seed < 48; ++seed) {
    RandomTexts texts(seed);
    StringFile file;
    file.longestRead = 1 + texts.Below(40);
    const FileEncoding encoding = kEncodings[seed % 4];
    file.content = InEncoding(encoding, encoding == FileEncoding::Ansi ? u"é" : u"");
    NoDuplicateIndex index(encoding);
    ASSERT_TRUE(index.Build(file).Ok());
    for (int step = 0; step < 60; ++step) {
      const Text entry = texts.Entry();
      bool found = false;
      ASSERT_TRUE(index.Contains(file, entry, found).Ok());
      ASSERT_EQ(found, Reference(file.content, entry)) << "seed " << seed << " step " << step;
      const std::string bytes = EncodeFor(encoding, entry + (texts.Below(4) == 0 ? u"" : u"\r\n"));
      file.content += bytes;
      ASSERT_TRUE(index.Feed(bytes));
    }
  }
}

Text NumberedLine(int number) {
  const std::string digits = std::to_string(100000 + number);
  return u"03/07/2024 " + Text(digits.begin(), digits.end()) + u"  -  Some Rule Name";
}

TEST(NoDuplicateIndex, ReadsLittleAndStaysSmall) {
  constexpr int kLines = 50000;
  StringFile file;
  for (int i = 0; i < kLines; ++i) file.content += ToUtf8(NumberedLine(i)) + "\r\n";
  NoDuplicateIndex index(FileEncoding::Utf8);
  ASSERT_TRUE(index.Build(file).Ok());
  EXPECT_LE(index.Bytes(), kLines * 16u + (300u << 10));
  file.bytesRead = 0;
  bool found = false;
  for (int i = 0; i < 200; ++i) {
    const int number = kLines - 100 + i;
    ASSERT_TRUE(index.Contains(file, NumberedLine(number), found).Ok());
    EXPECT_EQ(found, number < kLines) << number;
  }
  EXPECT_LT(file.bytesRead, 200u << 10);
}

TEST(NoDuplicateIndex, LongerLinesOfTheSameEndingAreReadForOnceOnly) {
  StringFile file;
  for (int i = 0; i < 2000; ++i) file.content += "prefix " + ToUtf8(NumberedLine(i)) + "\r\n";
  NoDuplicateIndex index(FileEncoding::Utf8);
  ASSERT_TRUE(index.Build(file).Ok());
  bool found = false;
  ASSERT_TRUE(index.Contains(file, NumberedLine(1500), found).Ok());
  EXPECT_TRUE(found);
  file.bytesRead = 0;
  for (int i = 2000; i < 2100; ++i) {
    ASSERT_TRUE(index.Contains(file, NumberedLine(i), found).Ok());
    EXPECT_FALSE(found);
  }
  EXPECT_EQ(file.bytesRead, 0u);
}

TEST(NoDuplicateIndex, VeryLongLines) {
  StringFile file;
  const Text body(LineScanner::kMaxLineBytes + 5000, u'x');
  file.content = ToUtf8(body) + " the end of a long line\r\n" + ToUtf8(NumberedLine(1)) + "\r\n";
  file.longestRead = 100000;
  NoDuplicateIndex index(FileEncoding::Utf8);
  ASSERT_TRUE(index.Build(file).Ok());
  for (const auto& [entry, expected] : {std::pair{Text(u"the end of a long line"), true},
                                        {Text(u"the End of a longer line"), false},
                                        {NumberedLine(1), true},
                                        {body + u" the end of a long line", true},
                                        {u"y" + body + u" the end of a long line", false}}) {
    bool found = !expected;
    ASSERT_TRUE(index.Contains(file, entry, found).Ok());
    EXPECT_EQ(found, expected) << ToUtf8(entry.substr(0, 30));
  }
}

TEST(NoDuplicateIndex, AReadThatFailsIsNoAnswer) {
  StringFile file;
  file.content = ToUtf8(NumberedLine(1)) + "\r\n";
  NoDuplicateIndex index(FileEncoding::Utf8);
  ASSERT_TRUE(index.Build(file).Ok());
  file.broken = true;
  bool found = false;
  EXPECT_EQ(index.Contains(file, NumberedLine(1), found), SystemError::kGeneralFailure);
  EXPECT_EQ(index.Contains(file, u"short", found), SystemError::kGeneralFailure);
  EXPECT_EQ(NoDuplicateIndex(FileEncoding::Utf8).Build(file), SystemError::kGeneralFailure);
}

}  // namespace
}  // namespace ovs
