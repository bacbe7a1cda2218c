// Reads thousands of generated files with this program's reader and with the platform's own, and compares.
//
// Every difference must be explained by one of the reasons that docs/ini-reader.md lists. A reason is never "this kind of
// file": it is a check that the two readers agree again once exactly that one thing is taken out of the file.
#include <windows.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "config/App_Common.h"

namespace ovs {
namespace {

enum class Kind { Ascii, Windows1252, Utf16, Utf8Mark, Utf8, Headers, Long, Nul, Utf16NoMark, Utf16OddByte };

struct Question {
  Text section, key;              // as asked
  Text sectionInFile, keyInFile;  // as the file spells them
};

struct IniFile {
  Kind kind{};
  Text text;
  std::vector<Question> questions;
};

constexpr TextView kWhiteSpace = u" \t\v\f\x1a";

TextView TrimWhiteSpace(TextView text) {
  const std::size_t from = std::min(text.find_first_not_of(kWhiteSpace), text.size());
  return text.substr(from, text.find_last_not_of(kWhiteSpace) + 1 - from);
}

// --- Files

class Generator {
 public:
  explicit Generator(std::uint32_t seed) : random_(seed) {}

  IniFile Make(Kind kind) {
    file_ = IniFile{kind, {}, {}};
    lineEnd_ = Pick<4>({u"\r\n", u"\n", u"\r", u""});
    // A letter that makes the encoding certain: UTF-8 with it is not ASCII, Windows-1252 with it is not UTF-8.
    Line(kind == Kind::Ascii ? u"; remark" : HasLetters() ? u"; \u00fc" : u"");
    if (OneIn(3)) Line(u"stray=1");
    const std::uint32_t sections = 2 + Below(3);
    for (std::uint32_t i = 0; i < sections; ++i) AddSection();
    if (OneIn(2) || kind == Kind::Utf16OddByte) file_.text.erase(file_.text.find_last_not_of(u"\r\n") + 1);
    if (kind == Kind::Nul) file_.text.insert(Below(static_cast<std::uint32_t>(file_.text.size())), 1, u'\0');
    return file_;
  }

 private:
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_()) % limit; }
  bool OneIn(std::uint32_t n) { return Below(n) == 0; }
  template <std::uint32_t N>
  Text Pick(const TextView (&from)[N]) {
    return Text(from[Below(N)]);
  }

  bool HasLetters() const {
    return file_.kind != Kind::Ascii && file_.kind != Kind::Headers && file_.kind != Kind::Long && file_.kind != Kind::Nul;
  }
  bool HasAllLetters() const { return HasLetters() && file_.kind != Kind::Windows1252; }

  void Line(TextView line) {
    file_.text.append(line).append(lineEnd_.empty() ? Pick<4>({u"\r\n", u"\n", u"\r", u"\r\r\n"}) : lineEnd_);
  }

  Text Pad() { return OneIn(2) ? Text() : Pick<6>({u" ", u"  ", u"\t", u" \t ", u"\v\f", u"\x1a"}); }

  Text Name() {
    if (HasAllLetters() && OneIn(4)) {
      return Pick<4>({u"\u043a\u043b\u044e\u0447", u"\u03c3\u03ae\u03bc\u03b1", u"\u6f22\u5b57", u"\u0142"});
    }
    if (HasLetters() && OneIn(3)) return Pick<4>({u"gr\u00f6\u00dfe", u"\u00e9", u"\u00c4rger", u"na\u00efve Art"});
    return Pick<10>({u"LogFile", u"System", u"Event Type", u"a.b", u"k1", u"Key", u"x/y Z", u"#n", u"EventDesc", u"0"});
  }

  Text Value() {
    const Text word = HasAllLetters() && OneIn(3) ? Pick<2>({u"\u0444\u20ac\U0001F600", u"\u3000x\u2028"})
                      : HasLetters() && OneIn(3)  ? Pick<3>({u"\u00fcber\u20ac", u"\u00a0n\u00a0", u"x\u0085y"})
                                                  : Pick<6>({u"1", u"bad block", u"Disk", u"a=b", u"x;y # z", u"[v]"});
    if (file_.kind == Kind::Long && OneIn(2)) return Quoted(Text(8186 + Below(OneIn(2) ? 10 : 8214), u'x') + word);
    return OneIn(2) ? word : Quoted(word);
  }

  Text Quoted(const Text& word) {
    const Text open = Pick<6>({u"", u"\"", u"'", u"\" ", u"\"\"", u"'\""});
    Text close = open;
    std::ranges::reverse(close);
    if (OneIn(5)) close = Pick<4>({u"", u"\"", u"'", u" \"b\""});
    return open + word + close;
  }

  Text Header(const Text& name) {
    if (file_.kind != Kind::Headers) return u"[" + Pad() + name + Pad() + u"]" + (OneIn(4) ? u" ; text" : u"");
    const TextView forms[] = {u"[*", u"*]", u"[*]b]", u"[*] ; see [1]", u"[]", u"[[*]", u"[*]k=v", u"[ * ]", u"[*]]"};
    return App_Strings::ReplaceAll(Pick(forms), u"*", name);
  }

  void AddSection() {
    const Text section = Name();
    Line(Pad() + Header(section) + Pad());
    const std::uint32_t keys = 3 + Below(6);
    for (std::uint32_t i = 0; i < keys; ++i) {
      const Text key = Name();
      if (OneIn(30)) Line(Pick<5>({u"", u" \t", u"; remark", u";Key=2", u"=no name"}));
      if (OneIn(25)) Line(key + Pick<3>({u"", u"=", u" = "}));
      Line(Pad() + key + Pad() + u"=" + Pad() + Value() + Pad());
      Ask(section, key);
    }
    if (!OneIn(12)) return;
    Line(u";hidden=1");
    file_.questions.push_back({section, u";hidden", section, u";hidden"});
  }

  void Ask(const Text& section, const Text& key) {
    Question ask{Spelled(section), Spelled(key), section, key};
    if (OneIn(25)) ask.key = ask.keyInFile = Pick<4>({u"", u"[", u"missing", u"stray"});
    if (OneIn(40)) ask.section = ask.sectionInFile = Pick<3>({u"", u"Missing", u"LogFile"});
    if (file_.kind == Kind::Headers && OneIn(3))
      ask.section = ask.sectionInFile = Pick<4>({u"", u"[", u"LogFile]b", u"Key]"});
    if (OneIn(60)) ask.key = u"\t" + ask.key;
    file_.questions.push_back(ask);
  }

  Text Spelled(const Text& name) {
    if (OneIn(20)) return u" " + name + u" ";
    if (!OneIn(3)) return name;
    // Other letters than ASCII in another case only where nothing else is in question.
    if (file_.kind != Kind::Utf8 && file_.kind != Kind::Utf16OddByte && OneIn(4)) return Fold(name);
    Text out = name;
    for (char16_t& unit : out) unit = unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    return out;
  }

  std::mt19937 random_;
  IniFile file_;
  Text lineEnd_;
};

std::string BytesOf(Kind kind, TextView text) {
  switch (kind) {
    case Kind::Windows1252:
      return EncodeFor(FileEncoding::Ansi, text);
    case Kind::Utf16:
      return "\xFF\xFE" + EncodeFor(FileEncoding::Utf16Le, text);
    case Kind::Utf16NoMark:
      return EncodeFor(FileEncoding::Utf16Le, text);
    case Kind::Utf16OddByte:
      return "\xFF\xFE" + EncodeFor(FileEncoding::Utf16Le, text) + "x";
    case Kind::Utf8Mark:
      return "\xEF\xBB\xBF" + ToUtf8(text);
    default:
      return ToUtf8(text);
  }
}

// --- The two readers

std::wstring Wide(TextView text) { return {text.begin(), text.end()}; }

// Files in a folder of their own. Each has a name of its own, because the platform may remember files by name and time;
// each looks old, because only such files are remembered, which makes reading many keys quick.
class Folder {
 public:
  Folder() {
    Text temp;
    os::SystemFiles().TempFolder(temp).Ignore();
    path_ = temp + u"ovs-ini-" + NumberText(GetCurrentProcessId()) + u"\\";
    os::SystemFiles().CreateDir(path_).Ignore();
  }
  ~Folder() {
    for (const Text& file : files_) os::SystemFiles().Delete(file).Ignore();
    os::SystemFiles().RemoveDir(path_).Ignore();
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  Text Put(std::string_view bytes) {
    files_.push_back(path_ + NumberText(static_cast<std::int64_t>(files_.size())) + u".ini");
    const HANDLE file = CreateFileW(Wide(files_.back()).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    const FILETIME old = {0, 0x01D00000};
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &old));
    CloseHandle(file);
    return files_.back();
  }

 private:
  Text path_;
  std::vector<Text> files_;
};

Text ReadByPlatform(TextView path, TextView section, TextView key) {
  for (DWORD size = 8192;; size *= 2) {
    std::wstring buffer(size, L' ');
    const DWORD got =
        GetPrivateProfileStringW(Wide(section).c_str(), Wide(key).c_str(), L"", buffer.data(), size, Wide(path).c_str());
    if (got < 1) return {};
    if (got == size - 2) continue;
    const Text all(buffer.begin(), buffer.end());
    return Text(App_Strings::TrimBlanks(TextView(all).substr(0, all.find(u'\0'))));
  }
}

// --- Reasons

constexpr TextView kNameless = u"(nameless)";

// The same text with every header in the one form that all versions of the platform read alike.
Text WithPlainHeaders(TextView text) {
  Text out;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
    TextView line = TrimWhiteSpace(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with(u'[')) {
      const TextView name = TrimWhiteSpace(line.substr(1, line.find(u']') - 1));
      out.append(u"[").append(name.empty() ? kNameless : name).append(u"]");
    } else {
      out.append(line);
    }
    out.append(u"\n");
  }
  return out;
}

struct Comparison {
  const IniFile& file;
  const Question& ask;
  const Text& path;
  const Text& ours;
  const Text& theirs;
};

// Finds the listed difference that explains one that was met. Copies of a file are written once for all its questions.
class Reasons {
 public:
  explicit Reasons(Folder& folder) : folder_(folder) {}

  // Empty when none does.
  const char* For(const Comparison& c) {
    const Kind kind = c.file.kind;
    if (DecodeFile(BytesOf(kind, c.file.text)).find(u'\0') != Text::npos) {
      return c.ours.empty() ? "file with NULs refused" : "";
    }
    if (c.ask.key.starts_with(u';')) return c.ours.empty() ? "remark asked for as key" : "";
    if (c.ask.key.starts_with(u'\t')) return c.ours.empty() ? "asked name with a tab" : "";
    if (kind == Kind::Utf16OddByte && c.ours.ends_with(kReplacementUnit)) {
      const bool sameBut = c.theirs.size() == c.ours.size() && c.theirs.starts_with(c.ours.substr(0, c.ours.size() - 1));
      return sameBut ? "half a character at the end" : "";
    }
    const bool otherCase = EqualsFolded(App_Strings::TrimBlanks(c.ask.section), c.ask.sectionInFile) &&
                           EqualsFolded(App_Strings::TrimBlanks(c.ask.key), c.ask.keyInFile);
    if (otherCase && c.ours == ReadByPlatform(c.path, c.ask.sectionInFile, c.ask.keyInFile)) return "case beyond ASCII";
    if (kind == Kind::Utf8 || kind == Kind::Utf8Mark) {
      const Text& copy = Copy(c.path, false, c.file.text);
      if (c.ours == ReadByPlatform(copy, c.ask.section, c.ask.key)) return "UTF-8 read as UTF-8";
    }
    const TextView section = App_Strings::TrimBlanks(c.ask.section).empty() ? kNameless : TextView(c.ask.section);
    const Text& copy = Copy(c.path, true, c.file.text);
    return c.ours == ReadByPlatform(copy, section, c.ask.key) ? "section header" : "";
  }

 private:
  // The file in the encoding that all versions of the platform read alike.
  const Text& Copy(const Text& of, bool plainHeaders, TextView text) {
    Text& copy = copies_[{of, plainHeaders}];
    if (copy.empty()) copy = folder_.Put(BytesOf(Kind::Utf16, plainHeaders ? WithPlainHeaders(text) : Text(text)));
    return copy;
  }

  Folder& folder_;
  std::map<std::pair<Text, bool>, Text> copies_;
};

struct Tally {
  int cases = 0;
  int agreeing = 0;
  int agreeingWithValue = 0;
  int unexplained = 0;
  std::map<std::string, int> excepted;

  void Print() const {
    std::printf("%d cases: %d agree (%d with a value), %d unexplained\n", cases, agreeing, agreeingWithValue, unexplained);
    for (const auto& [reason, count] : excepted) std::printf("%6d excepted: %s\n", count, reason.c_str());
  }
};

void Count(Tally& tally, const Comparison& c, Reasons& reasons) {
  ++tally.cases;
  if (c.ours == c.theirs) {
    ++tally.agreeing;
    if (!c.ours.empty()) ++tally.agreeingWithValue;
    return;
  }
  const std::string reason = reasons.For(c);
  if (!reason.empty()) {
    ++tally.excepted[reason];
  } else if (++tally.unexplained <= 10) {
    ADD_FAILURE() << "kind " << static_cast<int>(c.file.kind) << ", [" << ToUtf8(c.ask.section) << "] " << ToUtf8(c.ask.key)
                  << ": ours \"" << ToUtf8(c.ours.substr(0, 200)) << "\" (" << c.ours.size() << "), theirs \""
                  << ToUtf8(c.theirs.substr(0, 200)) << "\" (" << c.theirs.size() << ") in\n"
                  << ToUtf8(App_Strings::VisualizeLineBreaks(c.file.text.substr(0, 2000), true));
  }
}

TEST(IniDifferential, ReadsWhatThePlatformReads) {
  if (GetACP() != 1252) GTEST_SKIP() << "the platform reads bytes in code page " << GetACP();
  const std::pair<Kind, std::uint32_t> plan[] = {
      {Kind::Ascii, 80},   {Kind::Windows1252, 60}, {Kind::Utf16, 60}, {Kind::Utf8Mark, 30},   {Kind::Utf8, 30},
      {Kind::Headers, 40}, {Kind::Long, 40},        {Kind::Nul, 5},    {Kind::Utf16NoMark, 4}, {Kind::Utf16OddByte, 10}};
  Folder folder;
  Reasons reasons(folder);
  App_Common ini(os::SystemFiles());
  Tally tally;
  for (const auto& [kind, files] : plan) {
    for (std::uint32_t i = 0; i < files; ++i) {
      const IniFile file = Generator(1000 * static_cast<std::uint32_t>(kind) + i).Make(kind);
      const Text path = folder.Put(BytesOf(kind, file.text));
      for (const Question& ask : file.questions) {
        const Text ours = ini.ReadINI(path, ask.section, ask.key);
        const Text theirs = ReadByPlatform(path, ask.section, ask.key);
        Count(tally, {file, ask, path, ours, theirs}, reasons);
      }
    }
  }
  tally.Print();
  EXPECT_EQ(tally.unexplained, 0);
  EXPECT_GE(tally.cases, 5000);
  EXPECT_GE(tally.agreeingWithValue, tally.cases / 2);
}

}  // namespace
}  // namespace ovs
