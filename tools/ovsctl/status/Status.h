// ovsctl status: what the service is set to do, and what it did last.
#pragma once

#include <string>

namespace ovs {

struct StatusOptions {
  std::string applicationFolder;
  bool json = false;
};

// kDone when the service runs and nothing is wrong, kFindings when it does not run or something is wrong, kFailed when it is
// not installed. Where there is no service control manager, the service itself does not count.
int RunStatus(const StatusOptions& options);

}  // namespace ovs
