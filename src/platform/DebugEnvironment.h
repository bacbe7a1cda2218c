// The names and helpers that the diagnostics ask of the floors above them, made out of the running program's environment.
#pragma once

#include "diag/App_Debug.h"
#include "os/Machine.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"

namespace ovs {

// `fileSystem` must outlive the diagnostics' use of the result. The environment report is left to the composer.
[[nodiscard]] DebugEnvironment DebugEnvironmentOf(const App_Env& environment, App_FileSystem& fileSystem);

// The ports that the diagnostics use.
[[nodiscard]] DebugPorts DebugPortsOf(const os::Machine& machine);

}  // namespace ovs
