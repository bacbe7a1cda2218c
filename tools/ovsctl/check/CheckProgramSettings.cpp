#include "ovsctl/check/FileChecks.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Wipe.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"
#include "ovsctl/check/CheckValue.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

using App_Strings::TrimBlanks;

const SettingName* Find(TextView key) { return FindSetting(ProgramSettings::kAll, {}, key); }

TextView Nearest(TextView key) { return NearestName(key, KeysOf(ProgramSettings::kAll, {})); }

// The editor's lines in one line of the service.
std::size_t BareEnds(TextView line) {
  return static_cast<std::size_t>(std::ranges::count(App_Strings::ReplaceAll(line, u"\r", u"\n"), u'\n'));
}

}  // namespace

void ProgramSettingsCheck::Check(TextView content, const std::string& shown) {
  shown_ = shown;
  std::size_t number = 0;
  Config_Class::ForEachFileLine(content, [&](const Config_Class::FileLine& line) {
    const std::size_t first = ++number;
    number += BareEnds(line.whole);
    if (number > first) {
      findings_.Error(
          first,
          "lines " + std::to_string(first) + " to " + std::to_string(number) + " do not end in CR LF and count as one line",
          "Save the file with Windows line ends (CR LF).");
      // As they will be once that is mended.
      const Text mended = App_Strings::ReplaceAll(App_Strings::ReplaceAll(line.whole, u"\r", u"\n"), u"\n", kCrLf);
      std::size_t at = first;
      Config_Class::ForEachFileLine(mended, [&](const Config_Class::FileLine& each) {
        each.isEntry ? TakeEntry(each.key, each.value, at) : TakeOther(each.whole, at);
        ++at;
      });
    } else if (line.isEntry) {
      TakeEntry(line.key, line.value, first);
    } else {
      TakeOther(line.whole, first);
    }
  });
}

void ProgramSettingsCheck::TakeOther(TextView text, std::size_t line) {
  const TextView trimmed = TrimBlanks(text);
  if (trimmed.empty() || trimmed.front() == u';') return;
  if (trimmed.front() == u'[') {
    findings_.Warning(line, "section lines count for nothing in this file",
                      "Write whole keys, such as Debug.Log.Verbose=1.");
  } else if (LooksLikeRemark(trimmed)) {
    findings_.Warning(line, "this line counts for nothing, but it is no remark", "Begin remarks with \";\".");
  } else {
    const TextView word = trimmed.substr(0, trimmed.find_first_of(u" \t:"));
    const TextView nearest = Nearest(word);
    findings_.Error(
        line, Quoted(word) + " has no \"=\" and so no value",
        nearest.empty() ? "Begin remarks with \";\"." : "Write " + Console::Shown(nearest) + "= and the value behind it.");
  }
}

void ProgramSettingsCheck::TakeEntry(TextView key, TextView value, std::size_t line) {
  CheckPlace(key, line);
  const TextView trimmed = TrimBlanks(key);
  const SettingName* const known = Find(trimmed);
  if (known == nullptr) {
    TakeUnknown(key, line);
  } else {
    if (trimmed.size() != key.size()) {
      findings_.Error(line, Quoted(key) + " is another key than " + Quoted(trimmed) + ": blanks belong to it",
                      "Write " + Console::Shown(trimmed) + "= without blanks around the key.");
    }
    TakeValue(*known, value, line);
  }
}

void ProgramSettingsCheck::CheckPlace(TextView key, std::size_t line) {
  const auto [first, isNew] = places_.emplace(Fold(key), Place{shown_, line});
  if (isNew) return;
  const Place before = first->second;
  first->second = {shown_, line};
  if (before.file == shown_) {
    findings_.Error(line, Quoted(key) + " stands in line " + std::to_string(before.line) + " too; this later one counts",
                    "Leave one of the two lines.");
  } else {
    findings_.Warning(line,
                      Quoted(key) + " stands in " + before.file + ":" + std::to_string(before.line) +
                          " too; which one counts rests on the order in which the system lists the files",
                      "Leave one of the two lines.");
  }
}

void ProgramSettingsCheck::TakeUnknown(TextView key, std::size_t line) {
  if (key.empty()) {
    findings_.Error(line, "there is no key before the \"=\"", "Write the key, or remove the line.");
  } else if (LooksLikeRemark(key)) {
    findings_.Warning(line, Quoted(key) + " is a key that is not read, not a remark", "Begin remarks with \";\".");
  } else if (const TextView nearest = Nearest(TrimBlanks(key)); !nearest.empty()) {
    findings_.Error(line, "unknown setting " + Quoted(key) + ", which is not read", DidYouMean(nearest, {}));
  } else {
    findings_.Warning(line, "unknown setting " + Quoted(key) + ", which is not read",
                      "Remove the line, or begin it with \";\".");
  }
}

void ProgramSettingsCheck::TakeValue(const SettingName& key, TextView value, std::size_t line) {
  Text marker;
  int length = 0;
  const bool encrypted = ckCrypt_Config::IsEncryptedValue_KVP(value, marker, length);
  if (!encrypted) {
    if (key.kind != SettingKind::Secret) {
      CheckEncoding(value, line, findings_);
    } else if (Config_Class::IsDebugFile(FromUtf8(shown_))) {
      findings_.Warning(line, Console::Shown(key.key) + " stays in plain text: the service never writes this file",
                        "Set it with \"ovsctl encrypt " + Console::Shown(key.key) + "\".");
    }
    CheckValue(files_, {key, value, line}, findings_);
    return;
  }
  std::optional<Text> plain = ckCrypt_Config(os::SystemCrypto()).TryDecrypt(value);
  if (plain) {
    Wipe(*plain);
  } else {
    findings_.Error(line, Console::Shown(key.key) + " cannot be decrypted and counts as empty",
                    "Set it with \"ovsctl encrypt " + Console::Shown(key.key) + "\".");
  }
}

}  // namespace ovs
