// The service program: composes the parts and runs the service.
#include <windows.h>

#include <utility>

#include "base/os/Clock.h"
#include "base/os/Crypto.h"
#include "base/os/Prompt.h"
#include "base/os/Registry.h"
#include "base/os/System.h"
#include "diag/App_Debug.h"
#include "mail/AlertMailer.h"
#include "platform/DebugEnvironment.h"
#include "service/EnvironmentReport.h"
#include "service/Sample.h"
#include "service/win32/NTService.h"
#include "service/win32/WmiEventSource.h"

namespace {

using namespace ovs;

void Run() {
  os::Files& files = os::SystemFiles();
  App_Env environment(os::ThisSystem());
  App_FileSystem fileSystem(files, os::ThisSystem());
  App_Registry registry(os::SystemRegistry());
  App_Common ini(files);
  App_Time time(os::SystemClock(), os::SystemTimeZone(), files);
  NoMailer mailer(u"this version has no mail engine");
  NTService host(os::ThisSystem().ProgramPath());
  WmiEventSource source;
  const ckCrypt_Config crypt(os::SystemCrypto());
  Sample service({host, source, os::SystemPrompt(), environment, registry, fileSystem, ini, crypt, time, mailer});

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
  Run();
  return 0;
}
