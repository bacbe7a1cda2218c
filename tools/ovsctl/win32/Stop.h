// ovsctl stop: ends the event service by its two keys, the stop control and a record with the stop phrase.
#pragma once

#include <string>

namespace ovs::win32 {

struct StopOptions {
  unsigned waitSeconds = 30;
  bool control = true;
  bool record = true;
  std::string feed;  // also append the record to this feed file
};

// kDone when the service is stopped, kFindings when it is not in time.
int RunStop(const StopOptions& options);

}  // namespace ovs::win32
