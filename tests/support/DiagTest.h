// The diagnostics of one test in the place of the process-wide ones, with everything they need from the machine.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/RuntimeError.h"
#include "diag/App_Debug.h"
#include "diag/PendingError.h"
#include "platform/FileContent.h"
#include "support/FakeClock.h"
#include "support/FakePeriodTimer.h"
#include "support/FakeSystem.h"
#include "support/FaultyFiles.h"
#include "support/MemoryFiles.h"

namespace ovs {

class DiagTest : public ::testing::Test {
 protected:
  DiagTest() {
    ClearPending();
    debug.Attach({&files, &clock, &zone, &system, &ticker}, Environment());
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { entries.emplace_back(entry); });
  }
  ~DiagTest() override { ClearPending(); }

  static void ClearPending() {
    TakePendingSystemError();
    static_cast<void>(TakePendingRuntimeError());
  }
  DebugEnvironment Environment() {
    return {u"C:\\Data\\", u"Svc", u"OrvantaEventService", u"1", u"PC", {}, {}, [] { return Text(u"Machine report ä"); }};
  }
  // The file's bytes; "-" when there is none.
  std::string OnDisk(TextView path) {
    std::string bytes;
    return ReadFileBytes(disk, path, bytes) == ReadOutcome::Ok ? bytes : "-";
  }

  fakes::MemoryFiles disk;
  fakes::FaultyFiles files{disk};
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  fakes::FakeSystem system;
  fakes::FakePeriodTimer ticker;
  std::vector<Text> entries;
  App_Debug debug;
  ScopedDiagnostics scoped{debug};
};

inline const Text kLogFile = u"C:\\Data\\Debug Logs\\Svc\\OrvantaEventService (1).log";
inline constexpr TextView kNow = u"03/07/2024 01:05:09 PM ";

}  // namespace ovs
