#include "config/App_Common.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "os/PendingError.h"
#include "platform/FileContent.h"
#include "support/FakeSystem.h"
#include "support/FaultyFiles.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

using namespace std::string_literals;

constexpr TextView kFile = u"C:\\App\\Orvanta.ini";
constexpr TextView kNotes = u"Using Wide format for path ";
constexpr TextView kProblem = u"Cannot use settings file [C:\\App\\Orvanta.ini]: ";

class AppCommonTest : public ::testing::Test {
 protected:
  AppCommonTest() : diagnostics_(debug) {
    debug.Attach({.files = &files, .system = &system}, {});
    debug.SetEntryListener([this](TextView entry) { entries.emplace_back(entry); });
    files.CreateDir(u"C:\\App");
  }

  Text ReadFrom(TextView file) { return ini.ReadINI(file, u"s", u"k"); }
  Text Read(std::string_view bytes) {
    EXPECT_TRUE(files.Write(kFile, bytes));
    return ReadFrom(kFile);
  }
  std::size_t EntriesWith(TextView text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(entries, [&](const Text& entry) { return entry.find(text) != Text::npos; }));
  }

  App_Debug debug;
  ScopedDiagnostics diagnostics_;
  std::vector<Text> entries;
  fakes::MemoryFiles files;
  fakes::FaultyFiles faulty{files};
  fakes::FakeSystem system;
  App_Common ini{faulty};
};

TEST_F(AppCommonTest, WhatIsMissingIsEmptyAndNoNews) {
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(ReadFrom(u"C:\\None\\x.ini"), u"");
  for (const char* bytes : {"", "[s]", "[s]\nk", "[s]\nk=", "[s]\nk=\"\"", "[t]\nk=v", "k=v"})
    EXPECT_EQ(Read(bytes), u"") << bytes;
  EXPECT_EQ(Read("[S]\r\nK= ' v  w ' \r\n"), u"v  w");
  EXPECT_TRUE(entries.empty());
  EXPECT_EQ(PendingSystemError(), 0u);
}

TEST_F(AppCommonTest, EachCallReadsTheFileAnew) {
  EXPECT_EQ(Read("[s]\nk=1"), u"1");
  EXPECT_EQ(Read("[s]\nk=2"), u"2");
  files.Delete(kFile);
  EXPECT_EQ(ReadFrom(kFile), u"");
}

TEST_F(AppCommonTest, OneLoadServesManyKeys) {
  ASSERT_TRUE(files.Write(kFile, "[s]\nk=1\nl=2"));
  PlainIni content;
  ASSERT_EQ(ini.LoadIni(kFile, content), IniLoad::Ok);
  files.Delete(kFile);
  EXPECT_EQ(ini.ReadINI(content, kFile, u"s", u"k") + ini.ReadINI(content, kFile, u"s", u"l"), u"12");
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
  EXPECT_TRUE(entries.empty());
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
    entries.clear();
    EXPECT_EQ(ReadFrom(each.path), u"");
    EXPECT_EQ(EntriesWith(kNotes), each.note.empty() ? 0u : 1u);
    ASSERT_TRUE(files.Write(each.path, "[s]\nk=v"));
    EXPECT_EQ(ReadFrom(each.path), u"v");
    EXPECT_EQ(EntriesWith(each.note.empty() ? kNotes : each.note), each.note.empty() ? 0u : 1u);
  }
  // Whoever wants everything sees it at each call.
  entries.clear();
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
  faulty.FailPath(u"orvanta", 5);
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(EntriesWith(u"refuses to read it [5="), 1u);
  faulty.Heal();
  EXPECT_EQ(ReadFrom(kFile), u"v");
  faulty.FailPath(u"orvanta", 5);
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(EntriesWith(u"refuses to read it [5="), 2u);
  faulty.Heal();
  files.Delete(kFile);
  files.CreateDir(kFile);
  EXPECT_EQ(ReadFrom(kFile), u"");
  EXPECT_EQ(EntriesWith(u"it is a folder"), 1u);
  EXPECT_EQ(EntriesWith(kProblem), 5u);
  EXPECT_EQ(PendingSystemError(), 0u);
}

TEST_F(AppCommonTest, NoCallThatFailsEscapes) {
  ASSERT_TRUE(files.Write(kFile, "[s]\nk=v"));
  ReadFrom(kFile);
  const std::uint64_t callsOfOneRead = faulty.Calls();
  ASSERT_GE(callsOfOneRead, 3u);
  for (std::uint64_t nth = 1; nth <= callsOfOneRead; ++nth) {
    faulty.FailCall(nth, 32);
    EXPECT_EQ(ReadFrom(kFile), u"") << nth;
    faulty.Heal();
    EXPECT_EQ(ReadFrom(kFile), u"v") << nth;
  }
  EXPECT_EQ(EntriesWith(u"[32="), callsOfOneRead);
}

}  // namespace
}  // namespace ovs
