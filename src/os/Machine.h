// The machine as a whole: every port by its name, for whoever composes a program.
#pragma once

#include "os/Clock.h"
#include "os/Crypto.h"
#include "os/Files.h"
#include "os/FolderWatch.h"
#include "os/Registry.h"
#include "os/System.h"

namespace ovs::os {

// References alone: a copy is cheap and names the same ports, which must outlive it.
struct Machine {
  Files& files;
  FolderWatcher& folderWatcher;
  Registry& registry;
  Clock& clock;
  TimeZone& timeZone;
  System& system;
  PeriodTimer& periodTimer;
  Prompt& prompt;
  Crypto& crypto;
};

// The machine that the program runs on; its ports live as long as the process.
[[nodiscard]] inline Machine ThisMachine() {
  return {SystemFiles(), SystemFolderWatcher(), SystemRegistry(), SystemClock(), SystemTimeZone(),
          ThisSystem(),  SystemPeriodTimer(),   SystemPrompt(),   SystemCrypto()};
}

}  // namespace ovs::os
