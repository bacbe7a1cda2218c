#include "monitor/GlobalExclusions.h"

#include <algorithm>
#include <string>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "diag/Proc.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr TextView kNames[] = {u"GlobalExclusion_EventID_List.txt", u"GlobalExclusion_EventSource_List.txt",
                               u"GlobalExclusion_EventDesc_List.txt"};

Text KeyOf(TextView text) { return Fold(App_Strings::TrimBlanks(text)); }

// A set of texts compares all that are the same wherever one of them occurs, and there may be millions.
void KeepDistinct(std::vector<Text>& lines) {
  for (Text& line : lines) line = Fold(line);
  std::ranges::sort(lines);
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
}

}  // namespace

GlobalExclusions::GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder)
    : files_(files), problems_(problems) {
  for (std::size_t list = 0; list < kListCount; ++list) paths_[list] = Text(rulesFolder) + u"\\" + Text(kNames[list]);
}

bool GlobalExclusions::IsListName(TextView name) {
  return std::ranges::any_of(kNames, [&](TextView known) { return EqualsFolded(known, name); });
}

std::optional<std::vector<Text>> GlobalExclusions::Lines(List list) {
  const Text& path = paths_[list];
  std::vector<Text> lines;
  std::string bytes;
  const ReadOutcome outcome = ReadFileBytes(files_.Files(), path, bytes);
  if (outcome == ReadOutcome::Missing) {
    problems_.Gone(path);
    return lines;
  }
  if (outcome != ReadOutcome::Ok) {
    problems_.Report(FileKind::ExclusionList, path, DescribeReadOutcome(outcome));
    return outcome == ReadOutcome::Failed ? std::nullopt : std::optional(lines);
  }
  const Text text = DecodeFile(bytes);
  if (text.find(u'\0') != Text::npos) {
    problems_.Report(FileKind::ExclusionList, path, u"it is not text (it holds NUL characters)");
    return lines;
  }
  problems_.Usable(path);
  return App_Strings::Split(text, u"\r\n");
}

std::optional<std::vector<Text>> GlobalExclusions::ReadWhenDue(List list) {
  if (isRead_[list]) return std::nullopt;
  auto lines = Lines(list);
  if (lines) std::erase(*lines, Text());
  return lines;
}

bool GlobalExclusions::AnyLineEquals(List list, TextView value) {
  if (const auto lines = ReadWhenDue(list)) {
    std::unordered_set<Text> keys;
    for (const Text& line : *lines) keys.insert(KeyOf(line));
    equals_[list] = std::move(keys);
    isRead_[list] = true;
  }
  return equals_[list].contains(KeyOf(value));
}

bool GlobalExclusions::AnyLineOccursIn(TextView message) {
  if (auto lines = ReadWhenDue(kTexts)) {
    std::vector<TextSet::Member> members;
    KeepDistinct(*lines);
    for (Text& line : *lines) members.push_back({std::move(line)});
    occurs_ = TextSet(members);
    isRead_[kTexts] = true;
  }
  occurs_.Find(message, 1, scratch_);
  return !scratch_.found.empty();
}

bool GlobalExclusions::CheckGlobalEventIDEx(TextView eventCode) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventIDEx", ProcKind::Function);
  proc.ByVal(u"sEventCode", eventCode);
  return proc.Run(false, [&] { return AnyLineEquals(kIds, eventCode); });
}

bool GlobalExclusions::CheckGlobalEventSourceEx(TextView sourceName) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventSourceEx", ProcKind::Function);
  proc.ByVal(u"sSourceName", sourceName);
  return proc.Run(false, [&] { return AnyLineEquals(kSources, sourceName); });
}

bool GlobalExclusions::CheckGlobalEventDescEx(TextView message) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventDescEx", ProcKind::Function);
  proc.ByVal(u"sMessage", message);
  return proc.Run(false, [&] { return AnyLineOccursIn(message); });
}

std::optional<GlobalExclusions::List> GlobalExclusions::ExcludedBy(TextView eventCode, TextView sourceName,
                                                                   TextView message) {
  if (CheckGlobalEventIDEx(eventCode)) return kIds;
  if (CheckGlobalEventSourceEx(sourceName)) return kSources;
  if (CheckGlobalEventDescEx(message)) return kTexts;
  return std::nullopt;
}

std::optional<GlobalExclusions::Line> GlobalExclusions::LineThatExcludes(List list, TextView value) {
  const std::vector<Text> lines = Lines(list).value_or(std::vector<Text>());
  const Text key = KeyOf(value);
  const auto found = std::ranges::find_if(lines, [&](const Text& line) {
    return !line.empty() && (list == kTexts ? ContainsFolded(value, line) : KeyOf(line) == key);
  });
  if (found == lines.end()) return std::nullopt;
  return Line{static_cast<std::size_t>(found - lines.begin()) + 1, *found};
}

TextView GlobalExclusions::FileName(List list) { return kNames[list]; }

}  // namespace ovs
