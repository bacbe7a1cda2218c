#include "service/modEventSvc.h"

#include "platform/DebugEnvironment.h"
#include "service/EnvironmentReport.h"
#include "service/Sample.h"

namespace ovs {

void modEventSvc::Run() {
  Diagnostics().HoldRecords();
  Sample service(modules_, peers_);
  DebugEnvironment debugEnvironment = DebugEnvironmentOf(modules_.environment, modules_.fileSystem);
  debugEnvironment.environmentReport = [&] {
    return EnvironmentReport(
        {service.Caption(), modules_.environment, modules_.fileSystem, [&] { return service.ProgramSettings(); }});
  };
  Diagnostics().Attach(DebugPortsOf(modules_.machine), std::move(debugEnvironment));
  service.Main();
  Diagnostics().CleanupDebug();
}

}  // namespace ovs
