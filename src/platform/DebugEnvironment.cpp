#include "platform/DebugEnvironment.h"

namespace ovs {

DebugEnvironment DebugEnvironmentOf(const App_Env& environment, App_FileSystem& fileSystem) {
  DebugEnvironment out;
  out.dataFolder = environment.DataFolder();
  out.subFolder = environment.ProgramName();
  out.programFileName = environment.ProgramName();
  out.instanceNumber = environment.ProcessIdText();
  out.qualifier = environment.ComputerName();
  out.ensureDirExists = [&fileSystem](TextView folder) {
    std::uint32_t failReason = 0;
    return fileSystem.EnsureDirExists(folder, failReason);
  };
  out.hasWriteAccess = [&fileSystem](TextView folder) { return fileSystem.HasWriteAccess(folder); };
  return out;
}

DebugPorts DebugPortsOf(const os::Machine& machine) {
  return {.files = &machine.files,
          .clock = &machine.clock,
          .timeZone = &machine.timeZone,
          .system = &machine.system,
          .periodTimer = &machine.periodTimer};
}

}  // namespace ovs
