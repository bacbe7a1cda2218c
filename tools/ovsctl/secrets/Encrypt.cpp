// `ovsctl encrypt`: puts a secret among the program's own settings, encrypted.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Wipe.h"
#include "config/Config_Init.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/secrets/SettingsFile.h"
#include "platform/FS_DirList.h"

namespace ovs {

namespace {

struct EncryptOptions {
  std::string applicationFolder;  // as typed, as is the next
  std::string key;
  std::string file;  // empty: the one that has the key, else the default file
  bool any = false;  // also a key whose value is no secret
};

// The reason why the key cannot be taken; empty when it can.
std::string Objection(TextView key, bool any) {
  if (key.empty() || App_Strings::TrimBlanks(key).size() != key.size()) return "the key is empty or has blanks at its ends";
  if (key.front() == u';' || key.find_first_of(u"=\r\n") != TextView::npos || key.find(kNul) != TextView::npos) {
    return "a key has no \"=\", no line break, and no \";\" in front";
  }
  if (!any && !Config_Class::IsSecretKey(key)) {
    return Console::Shown(key) +
           " is no key for a secret: those end in \".Password\", such as Email.SMTP.Password. With --any it is encrypted "
           "all the same";
  }
  return {};
}

// The encrypted form that the service reads as this secret; empty when it would not.
Text EncryptedForm(TextView secret) {
  const ckCrypt_Config crypt(os::SystemCrypto());
  Text hex = crypt.EncryptCfgValue(secret);
  if (hex.empty()) return {};
  Text stored = u"<ev~>" + hex;
  std::optional<Text> back = crypt.TryDecrypt(stored);
  const bool same = back && *back == secret;
  if (back) Wipe(*back);
  return same ? stored : Text();
}

// The file that the key's value comes from when the service starts; empty when no file has the key.
struct KeyPlace {
  Text file;
  Text defaultFile;
};
KeyPlace PlaceOf(Installation& installation, TextView key) {
  const ckCrypt_Config crypt(os::SystemCrypto());
  const auto store = Config_Init(installation.FileSystem(), installation.Environment(), crypt, {.bNoReleaseSave = true});
  const Config_KVP* const entry = store->Item(key);
  if (entry == nullptr) return {{}, store->DefaultConfigFile};
  return {entry->DefFile().empty() ? store->DefaultConfigFile : entry->DefFile(), store->DefaultConfigFile};
}

// None when the path cannot be used, which was said.
std::optional<Text> TargetFile(const KeyPlace& place, const std::string& typed) {
  if (typed.empty()) return place.file.empty() ? place.defaultFile : place.file;
  std::optional<Text> path = TypedPath(typed);
  if (!path || MatchesMask(*path, u"*.cfg")) return path;
  static_cast<void>(
      Console::Fail("the service reads settings from files that end in .cfg, not from " + Console::Shown(*path)));
  return std::nullopt;
}

void SayWhereElse(const KeyPlace& place, TextView path) {
  if (place.file.empty() || EqualsFolded(place.file, path)) return;
  Console::Say("The key stands in " + Console::Shown(place.file) +
               " too; which one counts rests on the order in which the system lists the files. Remove it there.");
}

void SayWhatFollows(TextView path, TextView key) {
  Console::Say(Console::Shown(key) + " is in " + Console::Shown(path) + ", encrypted. The service reads it when it starts.");
  if (!ContainsFolded(path, u"_Debug.cfg")) {
    Console::Say(
        "If the service is running: when it ends it writes back the settings that it read at its start, the old value among "
        "them. Stop it, give this command again, and start it.");
  }
  if (EqualsFolded(key, ProgramSettings::kSmtpPassword.key)) {
    Console::Say(
        "Alerts are not sent with this password but with SMTPPassword in Config\\Orvanta.ini, also when both are set: use "
        "\"ovsctl set-password\" for it.");
  }
}

// kDone, or kFailed when key or secret cannot be used or the file cannot be changed.
int RunEncrypt(const EncryptOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::Open(options.applicationFolder);
  if (!installation) return kFailed;
  const Text key = FromUtf8(options.key);
  if (const std::string objection = Objection(key, options.any); !objection.empty()) return Console::Fail(objection);
  const KeyPlace place = PlaceOf(*installation, key);
  const std::optional<Text> path = TargetFile(place, options.file);
  if (!path) return kFailed;
  std::optional<Text> secret = Console::AskForSecret("secret");
  if (!secret) return kFailed;
  const WipeAtEnd wiped(*secret);
  // This is how a line break is written, and it would be read as one.
  if (secret->find(u"<NL>") != Text::npos) return Console::Fail("a secret with \"<NL>\" in it cannot be stored");
  const Text stored = EncryptedForm(*secret);
  if (stored.empty()) return Console::Fail("the secret cannot be encrypted");
  SettingsFile file(installation->FileSystem().Files(), *path);
  if (!file.Read() || !file.PutProgramSetting(key, stored) || !file.Write()) return kFailed;
  SayWhatFollows(*path, key);
  SayWhereElse(place, *path);
  return kDone;
}

}  // namespace

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
