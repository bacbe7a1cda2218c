#include "config/App_Common.h"

#include "base/App_Strings.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace std::string_literals;

constexpr TextView kFile = u"C:\\App\\Orvanta.ini";
constexpr TextView kNotes = u"Using Wide format for path ";
constexpr TextView kProblem = u"Cannot use settings file [C:\\App\\Orvanta.ini]: ";

class AppCommonTest : public PlatformTest {
 protected:
  AppCommonTest() {
    debug.SetSwitches({});
    memory.CreateDir(u"C:\\App").Ignore();
  }

  Text ReadFrom(TextView file) { return ini.ReadINI(file, u"s", u"k"); }
  Text Read(std::string_view bytes) {
    Put(kFile, bytes);
    return ReadFrom(kFile);
  }
  std::size_t EntriesWith(TextView text) const { return App_Strings::Split(log, text).size() - 1; }

  App_Common ini{files};
};

TEST_F(AppCommonTest, WhatIsMissingIsEmptyAndNoNews) {
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(ReadFrom(u"C:\\None\\x.ini"), u"");
  for (const char* bytes : {"", "[s]", "[s]\nk", "[s]\nk=", "[s]\nk=\"\"", "[t]\nk=v", "k=v"})
    EXPECT_EQ(Read(bytes), u"") << bytes;
  EXPECT_EQ(Read("[S]\r\nK= ' v  w ' \r\n"), u"v  w");
  EXPECT_EQ(log, u"");
}

TEST_F(AppCommonTest, EachCallReadsTheFileAnewAndOneLoadServesManyKeys) {
  EXPECT_EQ(Read("[s]\nk=1"), u"1");
  EXPECT_EQ(Read("[s]\nk=2\nl=3"), u"2");
  PlainIni content;
  ASSERT_EQ(ini.LoadIni(kFile, content), IniLoad::Ok);
  memory.Delete(kFile).Ignore();
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(ini.ReadINI(content, kFile, u"s", u"k") + ini.ReadINI(content, kFile, u"s", u"l"), u"23");
  EXPECT_EQ(ini.LoadIni(kFile, content), IniLoad::Missing);
}

TEST_F(AppCommonTest, Encodings) {
  const Text value = u"\u00fc\u20ac";
  const Text content = u"[s]\r\nk=" + value;
  EXPECT_EQ(Read("\xFF\xFE" + EncodeFor(FileEncoding::Utf16Le, content)), value);
  EXPECT_EQ(Read("\xEF\xBB\xBF" + ToUtf8(content)), value);
  EXPECT_EQ(Read(ToUtf8(content)), value);
  EXPECT_EQ(Read("[s]\r\nk=\xFC\x80"), value);
  EXPECT_EQ(Read("[s]\r\nk=\xFC\xE2\x82\xAC"), u"\u00fc\u00e2\u201a\u00ac");  // UTF-8 in part is none
  EXPECT_EQ(log, u"");
}

TEST_F(AppCommonTest, TheNoteOnThePathIsWrittenOnceForEachPath) {
  const Text longPath = u"C:\\App\\" + Text(253, u'x');
  struct {
    Text path;
    TextView note;
  } const cases[] = {
      {longPath, u"Using Wide format for path > 256"},
      {longPath.substr(0, 258) + u"\u0416\u0416", u"Using Wide format for path > 256"},
      {u"C:\\App\\\u0416.ini", u"Using Wide format for path containing unicode characters!"},
      {longPath.substr(0, 259), {}},
      {u"C:\\App\\\u00fc\u20ac.ini", {}},
  };
  for (const auto& each : cases) {
    log.clear();
    EXPECT_EQ(ReadFrom(each.path), u"");
    EXPECT_EQ(EntriesWith(kNotes), each.note.empty() ? 0u : 1u);
    Put(each.path, "[s]\nk=v");
    EXPECT_EQ(ReadFrom(each.path), u"v");
    EXPECT_EQ(EntriesWith(each.note.empty() ? kNotes : each.note), each.note.empty() ? 0u : 1u);
  }
  // Whoever wants everything sees it at each call.
  log.clear();
  debug.SetSwitches({.verbose = true});
  ReadFrom(longPath);
  EXPECT_EQ(EntriesWith(kNotes), 1u);
}

TEST_F(AppCommonTest, AnUnusableFileIsReportedOnceForEachReason) {
  EXPECT_EQ(Read("[s]\nk=v\0"s), u"");
  EXPECT_EQ(Read("[s]\nk=w\0"s), u"");
  EXPECT_EQ(EntriesWith(kProblem), 1u);
  EXPECT_EQ(EntriesWith(u"not text"), 1u);
  EXPECT_EQ(Read(std::string(kMaxTextFileBytes + 1, 'x')), u"");
  EXPECT_EQ(EntriesWith(u"too large"), 1u);
  EXPECT_EQ(Read("[s]\nk=v\n"s + std::string(kMaxTextFileBytes - 8, ' ')), u"v");
  files.FailPath(u"orvanta", os::Error(5));
  EXPECT_EQ(Read("[s]\nk=w"), u"v") << "a failed read is no edit";
  EXPECT_EQ(ReadFrom(kFile), u"v");
  EXPECT_EQ(EntriesWith(u"refuses to read it [5="), 1u);
  files.Heal();
  EXPECT_EQ(ReadFrom(kFile), u"w");
  EXPECT_EQ(EntriesWith(u"Can use settings file [C:\\App\\Orvanta.ini] again"), 2u);
  EXPECT_EQ(Read(""), u"");
  files.FailPath(u"orvanta", os::Error(5));
  EXPECT_EQ(ReadFrom(kFile), u"") << "an empty file is empty";
  EXPECT_EQ(EntriesWith(u"refuses to read it [5="), 2u);
  files.Heal();
  memory.Delete(kFile).Ignore();
  memory.CreateDir(kFile).Ignore();
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(EntriesWith(u"it is a folder"), 1u);
  EXPECT_EQ(EntriesWith(kProblem), 5u);
}

TEST_F(AppCommonTest, NoCallThatFailsEscapes) {
  Put(kFile, "[s]\nk=v");
  ReadFrom(kFile);
  const std::uint64_t callsOfOneRead = files.Calls();
  ASSERT_GE(callsOfOneRead, 3u);
  for (std::uint64_t nth = 1; nth <= callsOfOneRead; ++nth) {
    memory.Delete(kFile).Ignore();
    EXPECT_EQ(ReadFrom(kFile), u"") << "a file that is gone is gone";
    Put(kFile, "[s]\nk=v");
    files.FailCall(nth, os::Error(32));
    EXPECT_EQ(ReadFrom(kFile), u"") << nth;
    files.Heal();
    EXPECT_EQ(ReadFrom(kFile), u"v") << nth;
  }
  EXPECT_EQ(EntriesWith(u"[32="), callsOfOneRead);
}

}  // namespace
}  // namespace ovs
