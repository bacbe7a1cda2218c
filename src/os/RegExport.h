// Reads a text that the registry editor exported ("Windows Registry Editor Version 5.00").
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/Text.h"
#include "os/Registry.h"

namespace ovs {

// One line of an export.
struct RegExportEntry {
  enum class Action { AddKey, DeleteKey, SetValue, DeleteValue };
  Action action = Action::AddKey;
  os::RootKey root = os::RootKey::LocalMachine;
  Text key;   // below the root
  Text name;  // of the value; empty for the default value "@"
  std::uint32_t type = 0;
  std::string data;  // as the registry stores it, texts with their terminator
};

// Hands out the entries in their order. Known are quoted texts with "\\" and "\"" (they may run over several lines),
// "dword:", "hex:" and "hex(n):" with lines continued by "\", comments after ";", "-" for what is to be deleted. False when
// the heading is missing or some line could not be read; values below a key that could not be read are left out.
bool ParseRegExport(TextView text, const std::function<void(const RegExportEntry&)>& take);

}  // namespace ovs
