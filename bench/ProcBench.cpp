// What the trace costs a procedure.
#include "BenchDiagnostics.h"

namespace ovs {
namespace {

void TracedProcedure(benchmark::State& state, bool procDump) {
  const BenchDiagnostics diagnostics(procDump);
  const Text path = u"C:\\Orvanta\\Config\\Rules\\Low Disk.DAT";
  int level = 0;
  TracedCall(path, level);
  const std::uint64_t before = AllocatedBytes();
  for (auto _ : state) benchmark::DoNotOptimize(level = TracedCall(path, level) & 7);
  state.counters["allocated"] =
      benchmark::Counter(static_cast<double>(AllocatedBytes() - before), benchmark::Counter::kAvgIterations);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(TracedProcedure, dump off, false);
// So many that the spool is written to disk, and few enough for any disk.
BENCHMARK_CAPTURE(TracedProcedure, dump on, true)->Iterations(200'000);

// The same work without a guard.
void PlainProcedure(benchmark::State& state) {
  int level = 0;
  for (auto _ : state) benchmark::DoNotOptimize(level = (level + 1) & 7);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(PlainProcedure);

}  // namespace
}  // namespace ovs
