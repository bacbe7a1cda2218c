#include "ScramblePassword.h"

#include <cstdio>
#include <optional>
#include <string>

#include "Command.h"
#include "base/Encoding.h"
#include "base/Wipe.h"
#include "base/os/CommandLine.h"
#include "base/os/Crypto.h"
#include "mail/StoredPassword.h"

namespace ovs {

namespace {

constexpr std::size_t kLongest = 127;

int Fail(const std::string& message) {
  std::fprintf(stderr, "ovsctl scramble-password: %s\n", message.c_str());
  return kFailed;
}

bool IsControl(char16_t unit) { return unit < kBlank || (unit >= 0x7F && unit < 0xA0); }

// What speaks against the password; empty when nothing does. Control characters come from keys such as the arrows.
std::string Objection(const Text& password) {
  if (password.empty()) return "the password is empty";
  if (password.size() > kLongest) return "the password has more than 127 characters";
  for (std::size_t i = 0; i < password.size(); ++i) {
    const std::string place = "the character at position " + std::to_string(i + 1);
    const char16_t unit = password[i];
    if (IsControl(unit)) return place + " is a control character";
    if (!IsWindows1252(TextView(&unit, 1))) return place + " cannot be stored: only those of Windows-1252 can";
  }
  return {};
}

}  // namespace

int RunScramblePassword() {
  std::fputs("Type the password and press Enter; it is not shown.\n", stderr);
  std::optional<Text> line = os::ReadSecretLine();
  if (!line) return Fail("there was no password to read");
  const WipeAtEnd wiped(*line);
  if (const std::string objection = Objection(*line); !objection.empty()) return Fail(objection);
  const std::optional<Text> stored = StoredPassword::ScrambleText(*line, StoredPassword::kKey, os::SystemCrypto());
  if (!stored) return Fail("the system has no random bytes");
  std::fprintf(stderr,
               "This text belongs into Config\\Orvanta.ini, section [EmailConfig], behind \"SMTPPassword=\".\n"
               "Whoever can read it and has this program can find the password: let only administrators read the file.\n");
  std::printf("%s\n", ToUtf8(*stored).c_str());
  return kDone;
}

}  // namespace ovs
