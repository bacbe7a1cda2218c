// The whole job of the monitor over real files: a record in, tracing included, matching and its proof of freshness, an
// alert's two logs.
#include "BenchDiagnostics.h"
#include "RealFolder.h"
#include "Workload.h"
#include "base/Encoding.h"
#include "monitor/AlertSink.h"
#include "monitor/EventLogFiles.h"
#include "monitor/Rule.h"
#include "monitor/modFilterEvents.h"
#include "os/FolderWatch.h"
#include "support/FakeMailer.h"
#include "support/FakeWatcher.h"

namespace ovs {
namespace {

// A clock that stands still: what is in memory stays fresh.
class StoppedClock final : public os::Clock {
 public:
  os::FileTicks UtcNow() override { return os::SystemClock().UtcNow(); }
  std::uint64_t Milliseconds() override { return 1; }
};

// Counts alerts in place of writing them.
class CountingSink final : public AlertSink {
 public:
  void OnAlert(const Alert& /*alert*/) override { ++alerts; }
  std::uint64_t alerts = 0;
};

enum class Freshness {
  None,   // everything is read once
  News,   // as the service does it
  Sweep,  // the folder sends no news: every file is looked at each time the window has passed
};

class Monitor {
 public:
  Monitor(Freshness freshness, RealFolder& folder) : Monitor(freshness, folder, counting) {}
  Monitor(Freshness freshness, RealFolder& folder, AlertSink& sink)
      : action(ini, mailer, folder.Settings()),
        alerts({action, sink}),
        filter({.fileSystem = folder.FileSystem(),
                .ini = ini,
                .time = time,
                .clock = ClockOf(freshness),
                .watcher = WatcherOf(freshness),
                .alerts = alerts},
               folder.Settings()) {}

  CountingSink counting;

 private:
  os::Clock& ClockOf(Freshness freshness) {
    watcher.news = os::FolderNews::None;
    watcher.exact = watcher.canWatch = freshness == Freshness::None;
    return freshness == Freshness::None ? static_cast<os::Clock&>(stopped) : os::SystemClock();
  }
  os::FolderWatcher& WatcherOf(Freshness freshness) {
    return freshness == Freshness::News ? os::SystemFolderWatcher() : static_cast<os::FolderWatcher&>(watcher);
  }

  StoppedClock stopped;
  fakes::FakeWatcher watcher;
  App_Common ini{os::SystemFiles()};
  App_Time time{os::SystemClock(), os::SystemTimeZone(), os::SystemFiles()};
  fakes::FakeMailer mailer;
  AlertAction action;
  AlertSequence alerts;

 public:
  modFilterEvents filter;
};

void HandleAll(benchmark::State& state, Monitor& monitor, const std::vector<EventRecord>& records) {
  monitor.filter.FindEvents(records.front());
  monitor.counting.alerts = 0;
  for (auto _ : state) {
    for (const EventRecord& record : records) monitor.filter.FindEvents(record);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(records.size()));
  state.counters["alerts"] =
      benchmark::Counter(static_cast<double>(monitor.counting.alerts), benchmark::Counter::kAvgIterations);
}

void Job(benchmark::State& state, WorkloadKind recordKind, RuleKind ruleKind, Freshness freshness, double share) {
  const BenchDiagnostics diagnostics(false);
  const auto& records = Records(recordKind);
  RealFolder folder(MakeRules(ruleKind, static_cast<std::size_t>(state.range(0)), records, share));
  Monitor monitor(freshness, folder);
  HandleAll(state, monitor, records);
}
#define OVS_JOB(name, records, rules, freshness, share) \
  BENCHMARK_CAPTURE(Job, name, records, rules, freshness, share)->Unit(benchmark::kMillisecond)
OVS_JOB(mixed recorded, WorkloadKind::Recorded, RuleKind::Mixed, Freshness::None, kShare)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000);
OVS_JOB(text recorded, WorkloadKind::Recorded, RuleKind::Texts, Freshness::None, kShare)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000);
OVS_JOB(mixed synthetic, WorkloadKind::Synthetic, RuleKind::Mixed, Freshness::None, kShare)->Arg(10)->Arg(100)->Arg(1000);
OVS_JOB(text synthetic, WorkloadKind::Synthetic, RuleKind::Texts, Freshness::None, kShare)->Arg(10)->Arg(100)->Arg(1000);
OVS_JOB(mixed no match, WorkloadKind::Recorded, RuleKind::Mixed, Freshness::None, 0)->Arg(1000);
OVS_JOB(mixed tenth matches, WorkloadKind::Recorded, RuleKind::Mixed, Freshness::None, 0.1)->Arg(1000);
OVS_JOB(mixed news, WorkloadKind::Recorded, RuleKind::Mixed, Freshness::News, kShare)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000);
OVS_JOB(mixed sweep, WorkloadKind::Recorded, RuleKind::Mixed, Freshness::Sweep, kShare)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000);

// What the same promise costs without a memory: every key read anew.
class KeyByKey final : public RuleReader {
 public:
  KeyByKey(App_Common& ini, TextView path) : ini_(ini), path_(path) {}
  Text Read(const SettingName& setting) override { return ini_.ReadINI(path_, setting); }

 private:
  App_Common& ini_;
  TextView path_;
};

void Naive(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  const auto& records = Records(WorkloadKind::Recorded);
  const auto count = static_cast<std::size_t>(state.range(0));
  RealFolder folder(MakeRules(RuleKind::Mixed, count, records, kShare));
  App_Common ini(os::SystemFiles());
  std::vector<Text> paths;
  for (std::size_t i = 0; i < count; ++i) {
    paths.push_back(folder.Settings().rulesFolder + u"\\Rule " + NumberText(static_cast<std::int64_t>(i)) + u".DAT");
  }
  std::size_t next = 0;
  for (auto _ : state) {
    for (const Text& path : paths) {
      KeyByKey reader(ini, path);
      benchmark::DoNotOptimize(RuleMatches(reader, records[next % records.size()]));
    }
    ++next;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Naive)->Arg(10)->Arg(100)->Arg(1000);

// One alert, both logs, the file of rule names already that long.
void AlertLogs(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  RealFolder folder({"[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n"});
  std::string lines;
  for (std::int64_t i = 0; i < state.range(0); ++i) lines += "03/07/2024 01:05:09 PM  -  Rule " + std::to_string(i) + "\r\n";
  os::SystemFiles().Write(folder.Settings().eventLogRuleNamesPath, lines).Ignore();
  EventLogFiles log(folder.FileSystem(), os::SystemClock(), folder.Settings());
  Monitor monitor(Freshness::News, folder, log);
  EventRecord record{1, u"Error", u"7", u"src", u"The device has a bad block.", u"System", {}};
  const auto alert = [&](std::int64_t number) {
    // Each at a second of its own, so that each has a line of its own.
    const Text second = PaddedNumberText(number % 60, 2);
    const Text minute = PaddedNumberText(number / 60 % 60, 2);
    record.timeGenerated = u"20240307" + PaddedNumberText(number / 3600 % 24, 2) + minute + second + u".000000-000";
    monitor.filter.FindEvents(record);
  };
  std::int64_t number = 0;
  alert(number);
  for (auto _ : state) alert(++number);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(AlertLogs)->Arg(1'000)->Arg(1'000'000)->UseRealTime()->Unit(benchmark::kMicrosecond);

// One alert whose logs are flushed to the disk, as the service flushes them once a second.
void AlertLogsFlushed(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  RealFolder folder;
  EventLogFiles log(folder.FileSystem(), os::SystemClock(), folder.Settings());
  Alert alert{.ruleName = u"Rule",
              .record = {1, u"Error", u"7", u"src", u"The device has a bad block.", u"System", {}},
              .timeText = {}};
  std::int64_t number = 0;
  for (auto _ : state) {
    alert.timeText = PaddedNumberText(++number, 10);
    log.OnAlert(alert);
    log.Finish();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(AlertLogsFlushed)->UseRealTime()->Unit(benchmark::kMicrosecond);

// From nothing to the first record handled.
void FirstRecord(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  const auto& records = Records(WorkloadKind::Recorded);
  RealFolder folder(MakeRules(RuleKind::Mixed, static_cast<std::size_t>(state.range(0)), records, kShare));
  for (auto _ : state) {
    Monitor monitor(Freshness::News, folder);
    monitor.filter.FindEvents(records.front());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(FirstRecord)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// Ten million records, the working set after the first million and after the last.
void LongRun(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  const auto& records = Records(WorkloadKind::Recorded);
  RealFolder folder(MakeRules(RuleKind::Mixed, 100, records, kShare));
  Monitor monitor(Freshness::News, folder);
  const auto handle = [&](int rounds) {
    for (int i = 0; i < rounds; ++i) {
      for (const EventRecord& record : records) monitor.filter.FindEvents(record);
    }
  };
  constexpr int kFirst = 10;
  constexpr int kRest = 90;
  handle(kFirst);
  const WorkingSet memory;
  for (auto _ : state) handle(kRest);
  memory.Report(state);
  state.SetItemsProcessed(state.iterations() * kRest * static_cast<std::int64_t>(kRecords));
}
BENCHMARK(LongRun)->Iterations(1)->Unit(benchmark::kSecond);

// Exclusion lists of that many lines, for a record that every rule lets pass and no list excludes.
void Exclusions(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  RealFolder folder({"[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n"});
  for (const TextView list : {u"EventID", u"EventSource", u"EventDesc"}) {
    std::string lines;
    for (std::int64_t i = 0; i < state.range(0); ++i) lines += "no record has this " + std::to_string(i) + "\r\n";
    os::SystemFiles()
        .Write(folder.Settings().rulesFolder + u"\\GlobalExclusion_" + Text(list) + u"_List.txt", lines)
        .Ignore();
  }
  Monitor monitor(Freshness::News, folder);
  const EventRecord record{1, u"Error", u"7", u"src", Text(400, u'm'), u"System", u"20240307130509.000000-000"};
  monitor.filter.FindEvents(record);
  for (auto _ : state) monitor.filter.FindEvents(record);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Exclusions)->Arg(10)->Arg(10'000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace ovs
