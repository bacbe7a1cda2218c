#include "ServiceMail.h"

#include "Console.h"
#include "base/os/Clock.h"
#include "base/os/Crypto.h"
#include "base/os/Registry.h"
#include "base/os/System.h"
#include "config/Config_Init.h"
#include "mail/os/MailMachine.h"

namespace ovs {

int MessagePrompt::Show(TextView text, TextView /*caption*/, std::uint32_t /*flags*/) {
  Console::Say("ovsctl: " + Console::Shown(text));
  return 0;
}

ServiceMail::ServiceMail(Installation& installation)
    : crypt_(os::SystemCrypto()),
      store_(Config_Init(installation.FileSystem(), installation.Environment(), crypt_, {.bNoReleaseSave = true})),
      registry_(os::SystemRegistry()),
      real_(SystemMailEngines({os::SystemFiles(), os::SystemClock(), os::ThisSystem(), os::SystemCrypto()})),
      engines_(*real_),
      user_(prompt_),
      module_({installation.Ini(), registry_, installation.FileSystem(), installation.Environment(), engines_, user_,
               [this] { return store_.get(); }}) {
  installation.Environment().SetAutomaticMode(true);
  engines_.Start();
}

}  // namespace ovs
