#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/cli/Commands.h"
#include "ovsctl/mail/TestMail.h"

namespace ovs {

void AddTestMailCommand(Program& program) {
  const auto options = std::make_shared<TestMailOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "test-mail",
       .purpose =
           "Send one mail with the settings in force, as the service sends its alerts, and tell each step: name look-up, "
           "connection, TLS and certificate, login, recipients, acceptance. Passwords are never shown.",
       .examples = "ovsctl test-mail\n"
                   "ovsctl test-mail --to jane@example.com --session"},
      [options] { return RunTestMail(*options); });
  AddAppOption(*command, options->applicationFolder);
  command
      ->add_option("--to", options->to,
                   "Send it to this address (default: the technician, AdminEmail in Config\\Orvanta.ini)")
      ->type_name("ADDRESS");
  command->add_flag("--session", options->session, "Also show what was said between this program and the mail server");
  command->add_flag("--json", options->json, "Print the result as one JSON object");
}

}  // namespace ovs
