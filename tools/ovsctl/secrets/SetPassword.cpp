#include "ovsctl/secrets/SetPassword.h"

#include <optional>

#include "base/Encoding.h"
#include "base/Wipe.h"
#include "mail/message/StoredPassword.h"
#include "os/Crypto.h"
#include "ovsctl/cli/Command.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/secrets/SecretInput.h"
#include "ovsctl/secrets/SettingsFile.h"

namespace ovs {

namespace {

constexpr std::size_t kLongest = 127;
constexpr const char* kKeepClosed =
    "Whoever can read it and has this program can find the password: let only administrators and the system read the file.";

// What speaks against the password; empty when nothing does.
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
  std::optional<Text> password = AskForSecret("password");
  if (!password) return std::nullopt;
  const WipeAtEnd wiped(*password);
  if (const std::string objection = Objection(*password); !objection.empty()) {
    static_cast<void>(Console::Fail(objection));
    return std::nullopt;
  }
  std::optional<Text> stored = StoredPassword::ScrambleText(*password, StoredPassword::kKey, os::SystemCrypto());
  if (!stored) static_cast<void>(Console::Fail("the system has no random bytes"));
  return stored;
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
  if (!file.Read() || !file.PutIntoSection(u"EmailConfig", u"SMTPPassword", stored) || !file.Write()) return kFailed;
  Console::Say(std::string("The password is in ") + Console::Shown(path) + (file.Exists() ? "." : ", which is new.") +
               " It counts from the next alert on.\n" + kKeepClosed);
  return kDone;
}

}  // namespace

int RunSetPassword(const SetPasswordOptions& options) {
  std::unique_ptr<Installation> installation;
  if (!options.print) {
    installation = Installation::Open(options.applicationFolder);
    if (!installation) return kFailed;
  }
  std::optional<Text> stored = AskForStoredForm();
  if (!stored) return kFailed;
  const WipeAtEnd wiped(*stored);
  return options.print ? Print(*stored) : Put(*installation, *stored);
}

}  // namespace ovs
