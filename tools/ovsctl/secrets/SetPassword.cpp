// `ovsctl set-password`: puts the password of the mail account into the main settings file.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "base/Encoding.h"
#include "base/Wipe.h"
#include "mail/message/StoredPassword.h"
#include "os/Crypto.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/secrets/SettingsFile.h"

namespace ovs {

namespace {

struct SetPasswordOptions {
  std::string applicationFolder;  // as typed
  bool print = false;             // print the form that belongs into the file instead
};

constexpr std::size_t kLongest = 127;
constexpr const char* kKeepClosed =
    "Whoever can read it and has this program can find the password: let only administrators and the system read the file.";

// The reason why the password cannot be stored; empty when it can.
std::string Objection(const Text& password) {
  if (password.size() > kLongest) return "the password has more than 127 characters";
  for (std::size_t i = 0; i < password.size(); ++i) {
    if (IsWindows1252(TextView(password).substr(i, 1))) continue;
    return "the character at position " + std::to_string(i + 1) + " cannot be stored: only those of Windows-1252 can";
  }
  return {};
}

// None when there is no usable password; why was said.
std::optional<Text> AskForStoredForm() {
  std::optional<Text> password = Console::AskForSecret("password");
  if (!password) return std::nullopt;
  const WipeAtEnd wiped(*password);
  if (const std::string objection = Objection(*password); !objection.empty()) {
    static_cast<void>(Console::Fail(objection));
    return std::nullopt;
  }
  Text stored;
  const os::Error error = StoredPassword::ScrambleText(*password, StoredPassword::kKey, os::SystemCrypto(), stored);
  if (error.Ok()) return stored;
  static_cast<void>(Console::Fail("the system has no random bytes", error));
  return std::nullopt;
}

int Print(const Text& stored) {
  Console::Say(
      std::string("This text belongs into Config\\Orvanta.ini, section [EmailConfig], behind \"SMTPPassword=\".\n") +
      kKeepClosed);
  Console::Print(ToUtf8(stored));
  return kDone;
}

int Put(Installation& installation, const Text& stored) {
  const Text& path = installation.Settings().configIniPath;
  SettingsFile file(installation.FileSystem().Files(), path);
  if (!file.Read() || !file.PutIntoSection(MainSettings::kSmtpPassword, stored) || !file.Write()) return kFailed;
  Console::Say(std::string("The password is in ") + Console::Shown(path) + (file.Exists() ? "." : ", which is new.") +
               " It counts from the next alert on.\n" + kKeepClosed);
  return kDone;
}

// kDone, or kFailed when there is no usable password or the file cannot be changed.
int RunSetPassword(const SetPasswordOptions& options) {
  std::unique_ptr<Installation> installation;
  if (!options.print) {
    installation = Installation::OpenToRead(options.applicationFolder);
    if (!installation) return kFailed;
  }
  std::optional<Text> stored = AskForStoredForm();
  if (!stored) return kFailed;
  const WipeAtEnd wiped(*stored);
  return options.print ? Print(*stored) : Put(*installation, *stored);
}

}  // namespace

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
