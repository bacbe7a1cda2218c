// A whole machine of fakes: what a composition under test stands on.
#pragma once

#include <string>
#include <string_view>

#include "os/Machine.h"
#include "os/MemoryRegistry.h"
#include "platform/FileContent.h"
#include "support/FakeClock.h"
#include "support/FakePeriodTimer.h"
#include "support/FakePrompt.h"
#include "support/FakeSystem.h"
#include "support/FakeWatcher.h"
#include "support/FaultyPorts.h"
#include "support/MemoryFiles.h"

namespace ovs::fakes {

// Files, registry and time zone fail by the order of `files`; without an order they do what they are asked.
struct TestMachine {
  [[nodiscard]] os::Machine Ports() {
    return {.files = files,
            .folderWatcher = watcher,
            .registry = registry,
            .clock = clock,
            .timeZone = zone,
            .system = system,
            .periodTimer = timer,
            .prompt = prompt,
            .crypto = os::SystemCrypto()};
  }

  // Writes the file past all faults; its folders are made.
  void Put(TextView path, std::string_view bytes = {}) {
    for (std::size_t at = path.find(u'\\', 3); at != TextView::npos; at = path.find(u'\\', at + 1)) {
      disk.CreateDir(path.substr(0, at)).Ignore();
    }
    disk.Write(path, bytes).Ignore();
  }
  // The file's bytes; `none` when there is no such file.
  std::string Content(TextView path, std::string_view none = {}) {
    std::string bytes;
    return ReadFileBytes(disk, path, bytes) == ReadOutcome::Ok ? bytes : std::string(none);
  }

  MemoryFiles disk;
  FaultyFiles files{disk};
  FakeWatcher watcher;
  MemoryRegistry keys;
  FaultyRegistry registry{files, keys};
  FakeClock clock;
  FakeTimeZone realZone;
  FaultyTimeZone zone{files, realZone};
  FakeSystem system;
  FakePeriodTimer timer;
  FakePrompt prompt;
};

}  // namespace ovs::fakes
