// The diagnostics of one measurement in the place of the process-wide ones: real clock, real files.
#pragma once

#include <benchmark/benchmark.h>

#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "os/Clock.h"
#include "os/Files.h"
#include "os/System.h"
#include "support/AllocationCount.h"

namespace ovs {

class BenchDiagnostics {
 public:
  // The spool file of a procedure dump goes into a new temporary folder, which is removed at the end.
  explicit BenchDiagnostics(bool procDump) {
    files_.TempFolder(folder_).Ignore();
    folder_ += u"ovs-bench-" + NumberText(os::ThisSystem().ProcessId());
    files_.CreateDir(folder_).Ignore();
    debug_.Attach({&files_, &os::SystemClock(), &os::SystemTimeZone(), &os::ThisSystem(), &os::SystemPeriodTimer()}, {});
    debug_.DebugLogSetLogFileVars(folder_ + u"\\bench.log");
    DebugSwitches switches;
    switches.procDump = procDump;
    debug_.SetSwitches(switches);
  }
  ~BenchDiagnostics() {
    // Not written out: the dump itself is none of what is measured.
    files_.Delete(SpoolFile()).Ignore();
    files_.RemoveDir(folder_).Ignore();
  }
  BenchDiagnostics(const BenchDiagnostics&) = delete;
  BenchDiagnostics& operator=(const BenchDiagnostics&) = delete;

  // From now on entries are written at once, to a log that `make` has made in that folder.
  template <class Make>
  void WriteLogTo(TextView folder, Make make) {
    const Text path = Text(folder) + u"debug.log";
    make(path);
    debug_.DebugLogSetLogFileVars(path);
    DebugSwitches switches;
    switches.realTime = true;
    debug_.SetSwitches(switches);
  }

  // Bytes that the procedure dump holds on disk.
  [[nodiscard]] double Spooled() const {
    os::FileInfo info;
    return files_.Info(SpoolFile(), info).Ok() ? static_cast<double>(info.size) : 0.0;
  }

 private:
  [[nodiscard]] Text SpoolFile() const { return folder_ + u"\\bench Dump_Proc.tmp"; }

  os::Files& files_ = os::SystemFiles();
  Text folder_;
  App_Debug debug_;
  ScopedDiagnostics place_{debug_};
};

// A procedure as most are: two values and a result.
inline int TracedCall(const Text& path, int level) {
  Proc proc(u"Bench", u"Call", ProcKind::Function);
  proc.ByVal(u"sPath", path);
  proc.ByVal(u"nLevel", level);
  return proc.Run(-1, [&] { return level + 1; });
}

// Tells the working set before and after the part of a benchmark between construction and Report, in bytes.
class WorkingSet {
 public:
  void Report(benchmark::State& state) const {
    state.counters["ws before"] = static_cast<double>(before_);
    state.counters["ws after"] = static_cast<double>(os::ThisSystem().MemoryInUse());
  }

 private:
  std::uint64_t before_ = os::ThisSystem().MemoryInUse();
};

}  // namespace ovs
