// The service program: composes the parts and runs the service.
#include <windows.h>

#include <memory>
#include <utility>

#include "diag/App_Debug.h"
#include "events/win32/WmiEventSource.h"
#include "mail/engines/os/MailMachine.h"
#include "mail/message/modEmailSvc.h"
#include "os/Clock.h"
#include "os/Crypto.h"
#include "os/ProcessHardening.h"
#include "os/Prompt.h"
#include "os/Registry.h"
#include "os/System.h"
#include "platform/DebugEnvironment.h"
#include "service/EnvironmentReport.h"
#include "service/Sample.h"
#include "service/win32/NTService.h"

namespace {

using namespace ovs;

void Run() {
  os::Files& files = os::SystemFiles();
  App_Env environment(os::ThisSystem());
  App_FileSystem fileSystem(files, os::ThisSystem());
  App_Registry registry(os::SystemRegistry());
  App_Common ini(files);
  App_Time time(os::SystemClock(), os::SystemTimeZone(), files);
  NTService host(os::ThisSystem().ProgramPath());
  WmiEventSource source;
  const ckCrypt_Config crypt(os::SystemCrypto());
  const std::unique_ptr<MailEngines> engines =
      SystemMailEngines({files, os::SystemClock(), os::ThisSystem(), os::SystemCrypto()});
  PlainMailUser user(os::SystemPrompt());
  const Sample* running = nullptr;
  modEmailSvc mailer({ini, registry, fileSystem, environment, *engines, user, [&] { return running->Store(); }});
  Sample service({host, source, os::SystemPrompt(), environment, registry, fileSystem, ini, crypt, time, os::SystemClock(),
                  os::SystemFolderWatcher(), *engines, mailer});
  running = &service;

  DebugEnvironment debugEnvironment = DebugEnvironmentOf(environment, fileSystem);
  debugEnvironment.environmentReport = [&] {
    return EnvironmentReport({environment, fileSystem, [&] { return service.ProgramSettings(); }});
  };
  Diagnostics().Attach(SystemDebugPorts(), std::move(debugEnvironment));
  service.Main();
  Diagnostics().CleanupDebug();
}

}  // namespace

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, PWSTR /*commandLine*/, int /*show*/) {
  os::HardenProcess();
  Run();
  return 0;
}
