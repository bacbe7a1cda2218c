// ovsctl uninstall: takes the service out of the machine again.
#pragma once

#include <string>

#include "ovsctl/win32/Stop.h"

namespace ovs::win32 {

struct UninstallOptions {
  std::string applicationFolder;
  StopOptions stop;
  bool purge = false;  // delete settings, rules and logs as well
  bool yes = false;    // without asking
};

// kDone when it is gone, kFindings when something of it could not be deleted.
int RunUninstall(const UninstallOptions& options);

}  // namespace ovs::win32
