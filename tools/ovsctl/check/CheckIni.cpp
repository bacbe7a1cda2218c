#include "ovsctl/check/CheckIni.h"

#include <unordered_map>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "ovsctl/check/CheckValue.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

using Line = PlainIni::Line;

std::string InBrackets(TextView section) {
  constexpr std::size_t kMost = 60;
  return "[" + Console::Shown(section, kMost) + "]";
}

std::string ListOf(std::span<const TextView> names, bool brackets) {
  std::string list;
  for (const TextView name : names) {
    list += (list.empty() ? "" : ", ") + (brackets ? InBrackets(name) : Console::Shown(name));
  }
  return list;
}

// The part of a line that may be a name; what follows it may be secret.
TextView FirstWord(TextView line) { return line.substr(0, line.find_first_of(u" \t:")); }

class IniLines {
 public:
  IniLines(os::Files& files, std::span<const SettingName> known, Findings& findings)
      : files_(files), known_(known), sections_(SectionsOf(known)), findings_(findings) {}

  void Take(const Line& line) {
    if (line.kind == Line::Kind::Section) {
      TakeSection(line);
    } else if (line.kind == Line::Kind::Key) {
      TakeKey(line);
    }
  }

 private:
  void TakeSection(const Line& line) {
    inSection_ = true;
    keyLines_.clear();
    section_ = NearestOrItself(line);
    const auto [first, isNew] = sectionLines_.emplace(Fold(line.name), line.number);
    if (isNew) return;
    findings_.Error(
        line.number,
        InBrackets(line.name) + " stands here again; only the one in line " + std::to_string(first->second) + " is read",
        "Move the keys to the section in line " + std::to_string(first->second) + ".");
  }

  // The known section that was meant, so that its keys can be judged; empty when there is none.
  TextView NearestOrItself(const Line& line) {
    for (const TextView each : sections_) {
      if (EqualsFolded(each, line.name)) return each;
    }
    const TextView nearest = NearestName(line.name, sections_);
    findings_.Error(line.number, "unknown section " + InBrackets(line.name) + ", which is not read",
                    nearest.empty() ? "The sections here are " + ListOf(sections_, true) + "."
                                    : "Probably " + InBrackets(nearest) + " is meant.");
    return nearest;
  }

  void TakeKey(const Line& line) {
    const SettingName* const key = FindSetting(known_, section_, line.name);
    if (!line.value) return TakeLineWithoutValue(line, key);
    CheckPlace(line);
    if (key == nullptr) {
      TakeUnknown(line);
      CheckEncoding(*line.value, line.number, findings_);
      return;
    }
    const Text value = ProfileValue(*line.value);
    if (IsCutValue(*line.value)) {
      findings_.Error(line.number, Console::Shown(key->key) + " is too long; only the first 8191 characters are read",
                      "Shorten the value.");
    }
    if (key->kind == SettingKind::Plain) CheckText(*key, value, line.number);
    CheckValue(files_, {*key, value, line.number}, findings_);
  }

  void CheckPlace(const Line& line) {
    if (!inSection_) {
      const TextView home = SectionWith(known_, line.name);
      findings_.Error(line.number, Quoted(line.name) + " stands before the first section and is not read",
                      "Move it below " + (home.empty() ? "its section" : InBrackets(home)) + ".");
      return;
    }
    const auto [first, isNew] = keyLines_.emplace(Fold(line.name), line.number);
    if (isNew) return;
    findings_.Error(
        line.number,
        Quoted(line.name) + " stands in this section again; only line " + std::to_string(first->second) + " is read",
        "Leave one of the two lines.");
  }

  void TakeUnknown(const Line& line) {
    if (LooksLikeRemark(line.whole)) {
      findings_.Warning(line.number, Quoted(line.name) + " is a key that is not read, not a remark",
                        "Begin remarks with \";\".");
      return;
    }
    if (!inSection_ || section_.empty()) return;  // that was said
    if (line.name.empty()) {
      findings_.Error(line.number, "there is no key before the \"=\"", "Write the key, or remove the line.");
      return;
    }
    const std::vector<TextView> keys = KeysOf(known_, section_);
    const TextView home = SectionWith(known_, line.name);
    const std::string mend =
        home.empty() ? DidYouMean(NearestName(line.name, keys), "The keys of this section are " + ListOf(keys, false) + ".")
                     : "It belongs into " + InBrackets(home) + ".";
    findings_.Error(line.number, "unknown key " + Quoted(line.name) + " in " + InBrackets(section_) + ", which is not read",
                    mend);
  }

  void TakeLineWithoutValue(const Line& line, const SettingName* key) {
    if (LooksLikeRemark(line.whole)) {
      findings_.Warning(line.number, "this line is a key without a value, not a remark", "Begin remarks with \";\".");
    } else if (line.name.ends_with(u']')) {
      findings_.Error(line.number, Quoted(line.name) + " opens no section: the \"[\" is missing", "Put \"[\" in front.");
    } else {
      const TextView word = FirstWord(line.name);
      const TextView nearest = key != nullptr ? key->key : NearestName(word, KeysOf(known_, section_));
      const std::string what = Quoted(word) + " has no \"=\" and so no value";
      if (nearest.empty()) {
        findings_.Warning(line.number, what, "Begin remarks with \";\".");
      } else {
        findings_.Error(line.number, what, "Write " + Console::Shown(nearest) + "= and the value behind it.");
      }
    }
    // It hides a later line of its name.
    if (inSection_) keyLines_.emplace(Fold(line.name), line.number);
  }

  void CheckText(const SettingName& key, TextView value, std::size_t line) {
    CheckEncoding(value, line, findings_);
    if (value.find(u" ;") == TextView::npos) return;
    findings_.Warning(line, Console::Shown(key.key) + " holds \" ;\", and what stands behind it is part of the value",
                      "Put remarks on lines of their own that begin with \";\".");
  }

  os::Files& files_;
  std::span<const SettingName> known_;
  std::vector<TextView> sections_;
  Findings& findings_;
  TextView section_;
  bool inSection_ = false;
  std::unordered_map<Text, std::size_t> sectionLines_;
  std::unordered_map<Text, std::size_t> keyLines_;  // of the section at hand
};

}  // namespace

void CheckIniLines(os::Files& files, const PlainIni& ini, std::span<const SettingName> known, Findings& findings) {
  IniLines lines(files, known, findings);
  for (const Line& line : ini.Lines()) lines.Take(line);
}

std::size_t LineOfSection(std::span<const Line> lines, TextView section) {
  for (const Line& line : lines) {
    if (line.kind == Line::Kind::Section && EqualsFolded(line.name, section)) return line.number;
  }
  return 0;
}

std::size_t LineOfKey(std::span<const Line> lines, const SettingName& setting) {
  const std::size_t start = LineOfSection(lines, setting.section);
  for (const Line& line : lines) {
    if (start == 0 || line.number <= start) continue;
    if (line.kind == Line::Kind::Section) break;
    if (line.kind == Line::Kind::Key && EqualsFolded(line.name, setting.key)) return line.number;
  }
  return 0;
}

Text ValueOf(const PlainIni& ini, const SettingName& setting) {
  return ProfileValue(ini.RawValue(setting).value_or(TextView()));
}

}  // namespace ovs
