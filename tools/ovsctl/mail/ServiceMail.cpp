#include "ovsctl/mail/ServiceMail.h"

#include "config/Config_Init.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

int MessagePrompt::Show(TextView text, TextView /*caption*/, std::uint32_t /*flags*/) {
  Console::Say("ovsctl: " + Console::Shown(text));
  return 0;
}

ServiceMail::ServiceMail(Installation& installation)
    : store_(Config_Init(installation.FileSystem(), installation.Environment(), installation.Parts().crypt,
                         {.bNoReleaseSave = true})),
      engines_(SystemMailEngines(installation.Parts().machine)),
      user_(prompt_),
      module_({.ini = installation.Ini(),
               .registry = installation.Parts().registry,
               .fileSystem = installation.FileSystem(),
               .environment = installation.Environment(),
               .engines = *engines_,
               .user = user_,
               .store = *store_,
               .onOutcome = [this](const MailOutcome& outcome) { outcomes_.push_back(outcome); }}) {
  installation.Environment().SetAutomaticMode(true);
  engines_->Start();
}

}  // namespace ovs
