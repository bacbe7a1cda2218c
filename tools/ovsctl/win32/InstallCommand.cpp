#include <CLI/CLI.hpp>
#include <memory>

#include "ovsctl/win32/Install.h"
#include "ovsctl/win32/ServiceCommands.h"

namespace ovs::win32 {

void AddInstallCommand(Program& program) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "install",
       .purpose =
           "Install the event service: it starts with the machine and is restarted when it fails. Makes Config\\Rules, "
           "default settings and example rules where there are none, and sees to it that only administrators can "
           "change the application folder. Settings, rules and logs that exist stay. Needs administrator rights.",
       .examples = "ovsctl install\n"
                   "ovsctl install --app \"C:\\Program Files\\Orvanta\""},
      [folder] { return RunInstall(*folder); });
  command->add_option("--app", *folder, "Folder of OrvantaEventService.exe (default: the folder of ovsctl)")
      ->type_name("FOLDER");
}

}  // namespace ovs::win32
