#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/secrets/Encrypt.h"

namespace ovs {

void AddEncryptCommand(Program& program) {
  const auto options = std::make_shared<EncryptOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "encrypt",
       .purpose =
           "Read a secret (typed unseen, or one line of standard input) and put it, encrypted, into the .cfg file that "
           "has the key, or else into the default one. The rest of the file stays.",
       .examples = "ovsctl encrypt Email.SMTP.Password\n"
                   "ovsctl encrypt Email.SMTP.Password --file C:\\Orvanta\\mail.cfg\n"
                   "ovsctl encrypt Email.Chilkat.UnlockCode --any"},
      [options] { return RunEncrypt(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_option("key", options->key, "The setting, such as Email.SMTP.Password")->required()->type_name("KEY");
  command->add_option("--file", options->file, "The .cfg file to change")->type_name("FILE");
  command->add_flag("--any", options->any, "Take a key that does not end in .Password as well");
}

}  // namespace ovs
