#include "ovsctl/check/CheckValue.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "base/Wipe.h"
#include "mail/engines/MailHeaders.h"
#include "mail/message/StoredPassword.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

constexpr TextView kOnWords[] = {u"true", u"yes",  u"on",     u"y",      u"x",  u"t",   u"enable", u"enabled",
                                 u"ja",   u"an",   u"oui",    u"active", u"si", u"-1",  u"wahr",   u"checked",
                                 u"set",  u"vrai", u"always", u"one",    u"ok", u"1.0", u"#1"};
constexpr TextView kOffWords[] = {u"false", u"no",  u"off", u"n",     u"disable", u"disabled",
                                  u"nein",  u"aus", u"non", u"never", u"none"};

bool IsOneOf(TextView value, std::span<const TextView> words) {
  return std::ranges::any_of(words, [&](TextView word) { return EqualsFolded(word, value); });
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// The value up to a remark that somebody put behind it.
TextView WithoutRemark(TextView value) {
  const std::size_t end = value.find_first_of(u";#");
  return App_Strings::TrimBlanks(end == 0 ? value : value.substr(0, end));
}

void CheckSwitch(const ReadValue& read, Findings& findings) {
  const bool wide = read.key.kind == SettingKind::WideSwitch;
  const TextView value = wide ? App_Strings::TrimBlanks(read.value) : read.value;
  const std::string name = Console::Shown(read.key.key);
  if (value.empty() || value == u"0" || value == u"1" || (wide && value == u"2")) return;
  TextView meant = WithoutRemark(value);
  while (!meant.empty() && (meant.front() == u'=' || meant.front() == u'"' || meant.front() == u'\''))
    meant.remove_prefix(1);
  while (!meant.empty() && (meant.back() == u'"' || meant.back() == u'\'')) meant.remove_suffix(1);
  meant = App_Strings::TrimBlanks(meant);
  const auto number = ParseInt32(meant);
  const std::string is = name + " is " + Quoted(value) + ", which counts as off";
  if (number == 1 || IsOneOf(meant, kOnWords)) {
    findings.Error(read.line, is + " though on seems to be meant", "Write " + name + "=1 and nothing behind the 1.");
  } else if (number == 0 || IsOneOf(meant, kOffWords)) {
    findings.Warning(read.line, is, "Write " + name + "=0, or leave the line out.");
  } else {
    findings.Error(read.line, is, "Write " + name + "=1 for on or " + name + "=0 for off.");
  }
}

void CheckNumber(const ReadValue& read, Findings& findings) {
  const auto number = ParseInt32(App_Strings::TrimBlanks(read.value));
  const std::string name = Console::Shown(read.key.key);
  const std::string range = std::to_string(read.key.least) + " to " + std::to_string(read.key.most);
  if (!number) {
    findings.Error(read.line, name + " is " + Quoted(read.value) + ", which is no number",
                   "Give a number from " + range + ".");
  } else if (*number < read.key.least || *number > read.key.most) {
    findings.Error(read.line, name + " is " + std::to_string(*number) + ", which is out of range",
                   "Give a number from " + range + ".");
  }
}

void CheckAddresses(const ReadValue& read, Findings& findings) {
  const std::string name = Console::Shown(read.key.key);
  for (const MailAddress& each : SplitAddresses(read.value)) {
    if (!IsUsableAddress(each.address)) {
      findings.Error(read.line, name + " holds " + Quoted(each.address) + ", which no mail server can take as an address",
                     "Write addresses as jane@example.com, with commas between several.");
    } else if (each.address.find(u'@') == Text::npos) {
      findings.Warning(read.line, name + " holds " + Quoted(each.address) + ", an address without \"@\"",
                       "Write the whole address, as jane@example.com.");
    }
  }
}

void CheckScrambled(const ReadValue& read, Findings& findings) {
  StoredPassword::Unscrambled password = StoredPassword::UnscrambleText(read.value, StoredPassword::kKey);
  if (password.problem.empty()) {
    Wipe(password.text);
    return;
  }
  findings.Error(read.line,
                 Console::Shown(read.key.key) + " is not in its scrambled form: " + Console::Shown(password.problem),
                 "Set the password with \"ovsctl set-password\".");
}

}  // namespace

void CheckEventNumber(TextView value, std::size_t line, const std::string& name, Findings& findings) {
  constexpr std::uint64_t kMost = 65535;
  if (value.empty()) return;
  const bool digits = std::ranges::all_of(value, IsDigit);
  const std::string is = name + " is " + Quoted(value);
  if (digits && ParseUnsigned(value, kMost)) {
    if (value.front() != u'0' || value.size() == 1) return;
    findings.Error(line, is + ", and no event ID begins with 0", "Write the number without zeros in front.");
  } else if (digits) {
    findings.Error(line, is + ", and event IDs end at 65535", "Give the ID as the event viewer shows it.");
  } else if (EqualsFolded(value.substr(0, 2), u"0x") || EqualsFolded(value.substr(0, 2), u"&H")) {
    findings.Error(line, is + ", a hexadecimal number; event IDs are compared as decimal text", "Give the ID in decimal.");
  } else if (IsDigit(value.front()) && value.find_first_of(u",;/|- ") != TextView::npos) {
    findings.Error(line, is + ", which is more than one number; only one whole ID can be equal to it",
                   "Give one ID a rule or line, without a remark behind it.");
  } else {
    findings.Error(line, is + ", which is no event ID", "Give a decimal number such as 4625.");
  }
}

void CheckEncoding(TextView text, std::size_t line, Findings& findings) {
  if (text.find(kReplacementUnit) != TextView::npos) {
    findings.Warning(line, Quoted(text) + " holds characters that were lost on the way into this file",
                     "Type them anew and save the file as UTF-8.");
    return;
  }
  // UTF-8 that was taken for Windows-1252 and saved once more.
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    const bool isPair = text[i] == 0xC3 && ((text[i + 1] >= 0x80 && text[i + 1] <= 0xBF) || text[i + 1] >= 0x2000 ||
                                            text[i + 1] == 0x178 || text[i + 1] == 0x152 || text[i + 1] == 0x153);
    if (!isPair && text.substr(i, 2) != u"\u00E2\u20AC") continue;
    findings.Warning(line, Quoted(text) + " seems to be text in a wrong encoding",
                     "Type it anew and save the file as UTF-8.");
    return;
  }
}

bool HasWildcardEnds(TextView text) {
  const auto isWild = [](char16_t unit) { return unit == u'*' || unit == u'?'; };
  return !text.empty() && (isWild(text.front()) || isWild(text.back()));
}

bool LooksLikeRemark(TextView line) {
  constexpr TextView kStarts[] = {u";", u"#", u"//", u"--", u"rem ", u"'"};
  const TextView text = App_Strings::TrimBlanks(line);
  return std::ranges::any_of(kStarts, [&](TextView start) { return EqualsFolded(text.substr(0, start.size()), start); });
}

void CheckValue(os::Files& files, const ReadValue& read, Findings& findings) {
  if (read.value.empty()) return;
  switch (read.key.kind) {
    case SettingKind::Switch:
    case SettingKind::WideSwitch:
      return CheckSwitch(read, findings);
    case SettingKind::Number:
      return CheckNumber(read, findings);
    case SettingKind::Addresses:
      return CheckAddresses(read, findings);
    case SettingKind::EventNumber:
      return CheckEventNumber(read.value, read.line, Console::Shown(read.key.key), findings);
    case SettingKind::Scrambled:
      return CheckScrambled(read, findings);
    case SettingKind::File: {
      os::FileInfo info;
      if (files.Info(read.value, info).Ok() && !info.IsDirectory()) return;
      return findings.Error(read.line,
                            Console::Shown(read.key.key) + " names " + Quoted(read.value) + ", which is no file here",
                            "Give the full path of a file that exists.");
    }
    case SettingKind::Plain:
    case SettingKind::Secret:
      return;
  }
}

}  // namespace ovs
