// What the tests of the file helpers share: files in memory that fail on order, and the debug log as one text.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "diag/PendingError.h"
#include "platform/App_FileSystem.h"
#include "platform/FileContent.h"
#include "support/FakeSystem.h"
#include "support/FaultyFiles.h"
#include "support/MemoryFiles.h"

namespace ovs {

class PlatformTest : public ::testing::Test {
 protected:
  PlatformTest() : scoped_(debug) {
    DebugSwitches switches = debug.Switches();
    switches.verbose = true;
    debug.SetSwitches(switches);
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { log.append(entry).append(u"\r\n"); });
    TakePendingSystemError();
  }
  // No helper leaves a failure behind that a later, unrelated entry would report.
  ~PlatformTest() override { EXPECT_EQ(TakePendingSystemError(), 0u); }

  // True when a line of an entry since the last question of either kind is, or begins with, this text.
  bool Logged(TextView text) { return LoggedIn(std::exchange(log, Text()), text); }
  static bool LoggedIn(const Text& entries, TextView text) { return entries.find(Text(u"\r\n").append(text)) != Text::npos; }

  void Put(TextView path, std::string_view bytes = {}) { ASSERT_TRUE(memory.Write(path, bytes).Ok()) << ToUtf8(path); }
  bool Exists(TextView path) {
    os::FileInfo info;
    return memory.Info(path, info).Ok();
  }
  // The content; "(none)" when there is no such file.
  std::string Content(TextView path) {
    std::string bytes;
    return ReadFileBytes(memory, path, bytes) == ReadOutcome::Ok ? bytes : "(none)";
  }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  Text log;
  fakes::MemoryFiles memory;
  fakes::FaultyFiles files{memory};
  fakes::FakeSystem system;
  App_FileSystem fileSystem{files, system};
};

}  // namespace ovs
