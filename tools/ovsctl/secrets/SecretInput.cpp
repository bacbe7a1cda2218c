#include "ovsctl/secrets/SecretInput.h"

#include <algorithm>
#include <string>

#include "base/Wipe.h"
#include "os/CommandLine.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

std::optional<Text> AskForSecret(const char* what) {
  const auto isControl = [](char16_t unit) { return unit < kBlank || (unit >= 0x7F && unit < 0xA0); };
  const std::string name = std::string("the ") + what;
  Console::Say(std::string("Type ") + name + " and press Enter; it is not shown.");
  std::optional<Text> line = os::ReadSecretLine();
  std::string objection;
  if (!line) {
    objection = "there was no " + std::string(what) + " to read";
  } else if (line->empty()) {
    objection = name + " is empty";
  } else if (line->size() >= os::kLongestSecretLine) {
    objection = name + " is too long";
  } else if (const auto found = std::ranges::find_if(*line, isControl); found != line->end()) {
    objection = "the character at position " + std::to_string(found - line->begin() + 1) + " is a control character";
  }
  if (objection.empty()) return line;
  if (line) Wipe(*line);
  static_cast<void>(Console::Fail(objection));
  return std::nullopt;
}

}  // namespace ovs
