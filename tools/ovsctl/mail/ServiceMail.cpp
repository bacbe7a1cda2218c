#include "ovsctl/mail/ServiceMail.h"

#include "config/Config_Init.h"
#include "mail/engines/os/MailMachine.h"
#include "os/Clock.h"
#include "os/Crypto.h"
#include "os/Registry.h"
#include "os/System.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

int MessagePrompt::Show(TextView text, TextView /*caption*/, std::uint32_t /*flags*/) {
  Console::Say("ovsctl: " + Console::Shown(text));
  return 0;
}

ServiceMail::ServiceMail(Installation& installation)
    : store_(Config_Init(installation.FileSystem(), installation.Environment(), installation.Parts().crypt,
                         {.bNoReleaseSave = true})),
      real_(SystemMailEngines({os::SystemFiles(), os::SystemClock(), os::ThisSystem(), os::SystemCrypto()})),
      engines_(*real_),
      user_(prompt_),
      module_({installation.Ini(), installation.Parts().registry, installation.FileSystem(), installation.Environment(),
               engines_, user_, [this] { return store_.get(); }}) {
  installation.Environment().SetAutomaticMode(true);
  engines_.Start();
}

}  // namespace ovs
