// Whether memory stays flat over a long run: a million of what the service does all day.
#include <array>

#include "BenchDiagnostics.h"
#include "config/App_Common.h"
#include "monitor/EventLogFiles.h"
#include "monitor/modFilterEvents.h"
#include "support/FakeSystem.h"
#include "support/FakeWatcher.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

constexpr int kMany = 1'000'000;
constexpr int kWarmUp = kMany / 20;  // what is made once, such as full buffers, is no growth

// Inside a procedure that runs all the time, as the service's own entry does.
void SoakProcedures(benchmark::State& state, bool procDump) {
  const BenchDiagnostics diagnostics(procDump);
  const Text path = u"C:\\Orvanta\\Config\\Rules\\Low Disk.DAT";
  const Proc main(u"Bench", u"Main", ProcKind::Sub);
  for (int i = 0; i < kWarmUp; ++i) TracedCall(path, i);
  const WorkingSet memory;
  for (auto _ : state) {
    for (int i = 0; i < kMany; ++i) benchmark::DoNotOptimize(TracedCall(path, i));
  }
  memory.Report(state);
  state.counters["spooled"] = diagnostics.Spooled();
  state.SetItemsProcessed(state.iterations() * kMany);
}
BENCHMARK_CAPTURE(SoakProcedures, dump off, false)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(SoakProcedures, dump on, true)->Iterations(1)->Unit(benchmark::kSecond);

// The rule engine over an application folder in memory: what the disk adds is not measured.
class Engine {
 public:
  explicit Engine(int rules) {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"})
      files_.CreateDir(folder).Ignore();
    files_.Write(u"C:\\App\\Config\\Orvanta.ini", "[Monitoring]\r\nDiskEvents=1\r\n").Ignore();
    // Each differs from the records in the last condition only.
    for (int i = 0; i < rules; ++i) {
      files_
          .Write(u"C:\\App\\Config\\Rules\\Rule " + NumberText(i) + u".DAT",
                 "; a rule\r\n[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\nWarning=1\r\n[EventDetail]\r\n"
                 "EventID=7031\r\nEventDesc=no such text " +
                     std::to_string(i) + "\r\n")
          .Ignore();
    }
  }
  void Handle(const EventRecord& record) { filter_.FindEvents(record); }

 private:
  fakes::MemoryFiles files_;
  fakes::FakeSystem system_;
  App_FileSystem fileSystem_{files_, system_};
  App_Common ini_{files_};
  App_Time time_{os::SystemClock(), os::SystemTimeZone(), files_};
  fakes::FakeWatcher watcher_;
  const MonitorSettings settings_ = PathsOf(u"C:\\App\\");
  EventLogFiles log_{fileSystem_, os::SystemClock(), settings_};
  modFilterEvents filter_{{.fileSystem = fileSystem_,
                           .ini = ini_,
                           .time = time_,
                           .clock = os::SystemClock(),
                           .watcher = watcher_,
                           .alerts = log_},
                          settings_};
};

void SoakRecords(benchmark::State& state) {
  const BenchDiagnostics diagnostics(false);
  Engine engine(10);
  std::array<EventRecord, 64> records;
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[i] = {1,
                  u"Error",
                  u"7031",
                  u"Service Control Manager",
                  Text(40 + i * 20, u'm') + u" terminated unexpectedly.",
                  u"System",
                  u"20240307130509.000000-000"};
  }
  const auto handle = [&](int count) {
    for (int i = 0; i < count; ++i) engine.Handle(records[static_cast<std::size_t>(i) % records.size()]);
  };
  handle(kWarmUp);
  const WorkingSet memory;
  for (auto _ : state) handle(kMany);
  memory.Report(state);
  state.SetItemsProcessed(state.iterations() * kMany);
}
BENCHMARK(SoakRecords)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace ovs
