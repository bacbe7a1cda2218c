// Everything that a mail is made of, in memory: settings, registry, engines that send nothing, and a user.
#pragma once

#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "os/Machine.h"
#include "os/MemoryRegistry.h"
#include "platform/App_Env.h"
#include "support/FakeClock.h"
#include "support/FakeMailEngines.h"
#include "support/FakePrompt.h"
#include "support/PlatformTest.h"

namespace ovs {

class MailTest : public PlatformTest {
 protected:
  MailTest() {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config"}) memory.CreateDir(folder).Ignore();
    environment.SetAutomaticMode(true);
  }
  // The machine whose ports these are.
  os::Machine Machine() {
    return {files,  os::SystemFolderWatcher(), registry, clock, os::SystemTimeZone(), system, os::SystemPeriodTimer(),
            prompt, os::SystemCrypto()};
  }

  App_Env environment{system};
  const ckCrypt_Config crypt{os::SystemCrypto()};
  Config_Class store{fileSystem, crypt, u"C:\\App\\"};
  MemoryRegistry registry;
  fakes::FakeClock clock;
  fakes::FakePrompt prompt;
  fakes::FakeMailEngines engines;
  fakes::FakeMailUser user;
};

}  // namespace ovs
