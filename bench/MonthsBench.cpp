// A service that has run for years: logs of gigabytes, then a million alerts more. Memory and open files must stay as they
// are.
#include "BenchDiagnostics.h"
#include "LongRunning.h"
#include "RealFolder.h"
#include "base/Encoding.h"
#include "events/EventRecord.h"
#include "monitor/AlertSink.h"
#include "monitor/EventLogFiles.h"
#include "monitor/modFilterEvents.h"
#include "os/FolderWatch.h"
#include "support/FakeMailer.h"

namespace ovs {
namespace {

constexpr std::uint64_t kGiga = std::uint64_t{1} << 30;
constexpr int kAlerts = 1'000'000;
constexpr int kNameLines = 10'000'000;

// A second of its own for each, from the end of that year on.
Text WmiTimeOf(int year, int number) {
  const DateTime time =
      DateTimeFromTicks(TicksFromDateTime({year, 12, 31, 23, 0, 0, 0}) + std::int64_t{number} * 7 * kTicksPerSecond);
  Text text;
  for (const auto& [value, digits] : {std::pair<int, int>(time.year, 4),
                                      {time.month, 2},
                                      {time.day, 2},
                                      {time.hour, 2},
                                      {time.minute, 2},
                                      {time.second, 2}}) {
    text += PaddedNumberText(value, digits);
  }
  return text + u".000000-000";
}

// Ten million lines of a hundred rules.
std::string OldNameLines(App_Time& time) {
  std::string lines;
  lines.reserve(std::size_t{kNameLines} * 40);
  for (int i = 0; i < kNameLines; ++i) {
    lines += ToUtf8(RecordTimeText(time, WmiTimeOf(2030, i), {})) + "  -  Rule " + std::to_string(i % 100) + "\r\n";
  }
  return lines;
}

void YearsOfAlerts(benchmark::State& state) {
  RealFolder folder({"[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n"});
  BenchDiagnostics diagnostics(false);
  diagnostics.WriteLogTo(folder.Settings().applicationFolder,
                         [](TextView path) { MakeLongFile(path, "old entry\r\n\r\n", 2 * kGiga); });
  MakeLongFile(folder.Settings().eventLogPath, "old entry\r\n", 5 * kGiga);
  App_Common ini(os::SystemFiles());
  App_Time time(os::SystemClock(), os::SystemTimeZone(), os::SystemFiles());
  os::SystemFiles().Write(folder.Settings().eventLogRuleNamesPath, OldNameLines(time)).Ignore();
  EventLogFiles log(folder.FileSystem(), os::SystemClock(), folder.Settings());
  fakes::FakeMailer mailer;
  AlertAction action(ini, mailer, folder.Settings());
  AlertSequence sinks({action, log});
  modFilterEvents filter({.fileSystem = folder.FileSystem(),
                          .ini = ini,
                          .time = time,
                          .clock = os::SystemClock(),
                          .watcher = os::SystemFolderWatcher(),
                          .alerts = sinks},
                         folder.Settings());
  EventRecord record{1, u"Error", u"7", u"src", u"The device has a bad block.", u"System", {}};
  const auto alerts = [&](int from, int to) {
    for (int number = from; number < to; ++number) {
      record.timeGenerated = WmiTimeOf(2037, number);
      filter.FindEvents(record);
      Diagnostics().dLog(kNoProc, u"An alert was handled.");
    }
  };
  alerts(0, kAlerts / 10);
  const WorkingSet memory;
  const double handles = static_cast<double>(OpenHandles());
  for (auto _ : state) alerts(kAlerts / 10, kAlerts);
  memory.Report(state);
  state.counters["handles before"] = handles;
  state.counters["handles after"] = static_cast<double>(OpenHandles());
  state.SetItemsProcessed(kAlerts - kAlerts / 10);
}
BENCHMARK(YearsOfAlerts)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
}  // namespace ovs
