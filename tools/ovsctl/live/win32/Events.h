// ovsctl events: new records as the service sees them, through the service's own source.
#pragma once

#include <cstdint>
#include <string>

#include "ovsctl/cli/Command.h"

namespace ovs::win32 {

struct EventsOptions {
  std::string applicationFolder;
  std::string log;          // only records of this log; empty: all
  std::uint64_t count = 0;  // ends after so many; 0: at Ctrl+C
  bool json = false;
};

// kDone at the end that was asked for; kFailed when records cannot be had (any more).
int RunEvents(const EventsOptions& options);

void AddEventsCommand(Program& program);

}  // namespace ovs::win32
