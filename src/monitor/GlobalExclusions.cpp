#include "monitor/GlobalExclusions.h"

#include <algorithm>
#include <optional>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/os/PendingError.h"
#include "diag/Proc.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

bool LineEquals(TextView line, TextView value) { return App_Strings::StringsMatch(line, value); }

bool LineOccurs(TextView line, TextView value) { return ContainsFolded(value, line); }

// The list's text; none when there is no usable list.
std::optional<Text> ReadList(os::Files& files, FileProblems& problems, TextView path) {
  std::string bytes;
  const ReadOutcome outcome = ReadFileBytes(files, path, bytes);
  if (outcome == ReadOutcome::Missing) {
    problems.Clear(path);
    return std::nullopt;
  }
  constexpr TextView kWhat = u"Cannot use exclusion list";
  if (outcome != ReadOutcome::Ok) {
    problems.Report(kWhat, path, DescribeReadOutcome(outcome, TakePendingSystemError()));
    return std::nullopt;
  }
  Text text = DecodeFile(bytes);
  if (text.find(u'\0') != Text::npos) {
    problems.Report(kWhat, path, u"it is not text (it holds NUL characters)");
    return std::nullopt;
  }
  problems.Clear(path);
  return text;
}

}  // namespace

GlobalExclusions::GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder)
    : files_(files),
      problems_(problems),
      idList_(Text(rulesFolder) + u"\\GlobalExclusion_EventID_List.txt"),
      sourceList_(Text(rulesFolder) + u"\\GlobalExclusion_EventSource_List.txt"),
      descList_(Text(rulesFolder) + u"\\GlobalExclusion_EventDesc_List.txt") {}

bool GlobalExclusions::AnyLine(const Text& path, TextView value, LineTest test) {
  const std::optional<Text> text = ReadList(files_.Files(), problems_, path);
  if (!text) return false;
  return std::ranges::any_of(App_Strings::SplitViews(*text, u"\r\n"),
                             [&](TextView line) { return !line.empty() && test(line, value); });
}

bool GlobalExclusions::CheckGlobalEventIDEx(TextView eventCode) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventIDEx", ProcKind::Function);
  proc.ByVal(u"sEventCode", eventCode);
  return proc.Run(false, [&] { return AnyLine(idList_, eventCode, &LineEquals); });
}

bool GlobalExclusions::CheckGlobalEventSourceEx(TextView sourceName) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventSourceEx", ProcKind::Function);
  proc.ByVal(u"sSourceName", sourceName);
  return proc.Run(false, [&] { return AnyLine(sourceList_, sourceName, &LineEquals); });
}

bool GlobalExclusions::CheckGlobalEventDescEx(TextView message) {
  Proc proc(u"modFilterEvents", u"CheckGlobalEventDescEx", ProcKind::Function);
  proc.ByVal(u"sMessage", message);
  return proc.Run(false, [&] { return AnyLine(descList_, message, &LineOccurs); });
}

bool GlobalExclusions::Excludes(TextView eventCode, TextView sourceName, TextView message) {
  return CheckGlobalEventIDEx(eventCode) || CheckGlobalEventSourceEx(sourceName) || CheckGlobalEventDescEx(message);
}

}  // namespace ovs
