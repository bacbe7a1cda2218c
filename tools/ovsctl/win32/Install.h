// ovsctl install: the service entry, its event source, and an application folder that only administrators can change.
#pragma once

#include <string>

namespace ovs::win32 {

// kDone when all was done, kFailed when not; the service entry is then taken back.
int RunInstall(const std::string& applicationFolder);

}  // namespace ovs::win32
