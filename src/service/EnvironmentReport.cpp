#include "service/EnvironmentReport.h"

#include "base/App_Strings.h"
#include "base/DateTime.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"

namespace ovs {

namespace {

class Lines {
 public:
  void Group(TextView name) { text_.append(u"\r\n---- ").append(name).append(kCrLf); }
  void Line(TextView line) { text_.append(line).append(kCrLf); }
  void Value(TextView key, TextView value) { text_.append(key).append(u"=").append(value).append(kCrLf); }
  void Number(TextView key, std::uint64_t value) { Value(key, NumberText(static_cast<std::int64_t>(value))); }
  [[nodiscard]] Text Take() { return std::move(text_); }

 private:
  Text text_;
};

void AddProgram(const App_Env& environment, Lines& out) {
  out.Group(u"Program");
  out.Value(u"Program", environment.ApplicationFolder() + environment.ProgramName());
  out.Value(u"Version", environment.Version());
  out.Value(u"Compiler", u"g++ " + FromUtf8(__VERSION__));
  out.Value(u"ProcessID", environment.ProcessIdText());
  out.Value(u"AutomaticMode", environment.AutomaticMode() ? u"True" : u"False");
}

void AddMachine(const App_Env& environment, Lines& out) {
  out.Group(u"Machine");
  out.Value(u"ComputerName", environment.ComputerName());
  out.Value(u"User", environment.UserName());
  out.Value(u"OS", environment.OsVersion());
  out.Value(u"LANAddress", environment.LanAddress());
  out.Value(u"WANAddress", environment.WanAddress());
  out.Number(u"MemoryInUse", environment.MemoryInUse());
}

void AddFolders(const App_Env& environment, Lines& out) {
  out.Group(u"Folders");
  out.Value(u"ApplicationFolder", environment.ApplicationFolder());
  out.Value(u"DataFolder", environment.DataFolder());
  out.Value(u"TempFolder", environment.TempFolder());
  out.Value(u"DebugLogFile", Diagnostics().DebugLogFile());
}

void AddSettings(const std::vector<Text>& lines, Lines& out) {
  for (const Text& line : lines) {
    if (!App_Strings::TrimBlanks(line).empty()) out.Line(WithoutPassword(line));
  }
}

void AddMainSettings(App_FileSystem& fileSystem, TextView path, Lines& out) {
  out.Group(path);
  std::vector<Text> lines;
  if (!fileSystem.GetFileToArray(path, lines)) out.Line(u"(cannot be read)");
  AddSettings(lines, out);
}

Text FileLine(const os::DirEntry& entry) {
  const Text time = FormatDate(DateTimeFromTicks(entry.info.modified),
                               {.yearFirst = true, .includeTime = true, .includeSeconds = true, .use24Hour = true});
  const Text size =
      entry.info.IsDirectory() ? Text(u"folder") : NumberText(static_cast<std::int64_t>(entry.info.size)) + u" bytes";
  return entry.name + u"  " + size + u"  " + time;
}

void AddRules(App_FileSystem& fileSystem, TextView folder, Lines& out) {
  out.Group(folder);
  std::vector<os::DirEntry> entries;
  if (const os::Error error = fileSystem.Files().List(folder, entries); error.Failed()) {
    out.Line(u"(cannot be read whole: " + Diagnostics().GetSystemMsg(error.Number(), true) + u")");
  }
  for (const os::DirEntry& entry : entries) out.Line(FileLine(entry));
}

void AddCounters(Lines& out) {
  const EventCounters& counters = Diagnostics().Counters();
  out.Group(u"Counters");
  out.Number(u"ProceduresEntered", counters.proceduresEntered);
  out.Number(u"ProceduresExited", counters.proceduresExited);
  out.Number(u"GlobalEvents", counters.globalEvents);
  out.Number(u"NormalEvents", counters.normal);
  out.Number(u"VerboseEvents", counters.verbose);
  out.Number(u"ErrorHandlerEvents", counters.errorHandler);
  out.Number(u"APICallErrorEvents", counters.apiError);
  out.Number(u"Errors_Outside_ErrorHandler", counters.errorsOutsideErrorHandler);
}

}  // namespace

Text WithoutPassword(TextView line) {
  const std::size_t equals = line.find(u'=');
  if (equals == TextView::npos || !ContainsFolded(line.substr(0, equals), u"pass")) return Text(line);
  return Text(line.substr(0, equals + 1)) + u"***";
}

Text EnvironmentReport(const ReportParts& parts) {
  const MonitorSettings paths = PathsOf(parts.environment.ApplicationFolder());
  Lines out;
  out.Line(parts.caption);
  AddProgram(parts.environment, out);
  AddMachine(parts.environment, out);
  AddFolders(parts.environment, out);
  AddMainSettings(parts.fileSystem, paths.configIniPath, out);
  out.Group(u"Program settings");
  if (parts.programSettings) AddSettings(App_Strings::Split(parts.programSettings(), kCrLf), out);
  AddRules(parts.fileSystem, paths.rulesFolder, out);
  AddCounters(out);
  return out.Take();
}

}  // namespace ovs
