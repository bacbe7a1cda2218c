#include "monitor/GlobalExclusions.h"

#include <algorithm>
#include <string>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/os/PendingError.h"
#include "diag/Proc.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr TextView kNames[] = {u"GlobalExclusion_EventID_List.txt", u"GlobalExclusion_EventSource_List.txt",
                               u"GlobalExclusion_EventDesc_List.txt"};

}  // namespace

GlobalExclusions::GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder)
    : files_(files), problems_(problems) {
  for (std::size_t kind = 0; kind < kListCount; ++kind) paths_[kind] = Text(rulesFolder) + u"\\" + Text(kNames[kind]);
}

bool GlobalExclusions::IsListName(TextView name) {
  return std::ranges::any_of(kNames, [&](TextView known) { return EqualsFolded(known, name); });
}

void GlobalExclusions::Forget() {
  equals_ = {};
  occurs_.reset();
}

std::optional<std::vector<Text>> GlobalExclusions::ReadLines(ListKind kind) {
  constexpr TextView kWhat = u"Cannot use exclusion list";
  const Text& path = paths_[kind];
  std::vector<Text> lines;
  std::string bytes;
  const ReadOutcome outcome = ReadFileBytes(files_.Files(), path, bytes);
  if (outcome != ReadOutcome::Ok && outcome != ReadOutcome::Missing) {
    problems_.Report(kWhat, path, DescribeReadOutcome(outcome, TakePendingSystemError()));
    return outcome == ReadOutcome::Failed ? std::nullopt : std::optional(lines);
  }
  const Text text = DecodeFile(bytes);
  if (text.find(u'\0') != Text::npos) {
    problems_.Report(kWhat, path, u"it is not text (it holds NUL characters)");
    return lines;
  }
  problems_.Clear(path);
  lines = App_Strings::Split(text, u"\r\n");
  std::erase(lines, Text());
  return lines;
}

bool GlobalExclusions::AnyLineEquals(ListKind kind, TextView value) {
  const auto key = [](TextView text) { return Fold(App_Strings::TrimBlanks(text)); };
  auto& known = equals_[kind];
  if (!known) {
    const auto lines = ReadLines(kind);
    if (!lines) return false;
    known.emplace();
    for (const Text& line : *lines) known->insert(key(line));
  }
  return known->contains(key(value));
}

bool GlobalExclusions::AnyLineOccursIn(TextView message) {
  if (!occurs_) {
    auto lines = ReadLines(kTexts);
    if (!lines) return false;
    std::vector<TextSet::Member> members;
    for (Text& line : *lines) members.push_back({std::move(line)});
    occurs_.emplace(members);
  }
  occurs_->Find(message, 1, scratch_);
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

bool GlobalExclusions::Excludes(TextView eventCode, TextView sourceName, TextView message) {
  return CheckGlobalEventIDEx(eventCode) || CheckGlobalEventSourceEx(sourceName) || CheckGlobalEventDescEx(message);
}

}  // namespace ovs
