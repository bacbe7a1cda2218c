#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/secrets/SetPassword.h"

namespace ovs {

void AddSetPasswordCommand(Program& program) {
  const auto options = std::make_shared<SetPasswordOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "set-password",
       .purpose = "Read the password of the mail account (typed unseen, or one line of standard input) and put it into "
                  "Config\\Orvanta.ini, section [EmailConfig], in the form that belongs there. The rest of the file stays.",
       .examples = "ovsctl set-password\n"
                   "ovsctl set-password --app C:\\Orvanta\n"
                   "ovsctl set-password --print"},
      [options] { return RunSetPassword(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--print", options->print, "Print the form that belongs behind SMTPPassword= and change no file");
}

}  // namespace ovs
