// Registry keys and values, traced. No operation raises: a failure is a false or empty result and a debug entry.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "base/Text.h"
#include "diag/Proc.h"
#include "os/Registry.h"

namespace ovs {

// An expandable string as it is stored: nothing is expanded.
struct RegExpandString {
  explicit RegExpandString(Text stored) : text(std::move(stored)) {}
  Text text;
  bool operator==(const RegExpandString&) const = default;
};

// No value, string, expandable string, multi-string, binary, 32-bit number.
using RegValue = std::variant<std::monostate, Text, RegExpandString, std::vector<Text>, std::string, std::uint32_t>;

class App_Registry {
 public:
  // `registry` must outlive this object.
  explicit App_Registry(os::Registry& registry) : registry_(registry) {}

  // False only when the key surely does not exist. `bNoViewAdjust`: the key text is taken as it is.
  bool RegKeyExist(os::RootKey RootHKEY, TextView sRegKey, bool bNoViewAdjust = false);

  // The typed value; an empty name is the key's default value. No value when it is missing, of another type, or larger
  // than 1 MiB.
  RegValue RegReadValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, bool bNoViewAdjust = false);
  // The text of a string or an expandable string, else empty.
  Text RegReadString(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName);

  // Writes a string, a multi-string or a 32-bit number; the key and its parents are made. `lValueType` is the os::RegType of
  // the value given, `lDataLen` how many of its bytes (final NULs counted) are written: all, unless it is less. An empty
  // text within a multi-string would end it and is refused.
  bool RegWriteValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, const RegValue& vRegData,
                     std::uint32_t lDataLen, std::uint32_t lValueType);
  // The same with all bytes and the type that the value has.
  bool RegWriteValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, const RegValue& vRegData);

  // Adjusts the key text and the access mask for the right registry view: keys under "SOFTWARE\" are the 64-bit ones. A
  // key that names "WOW6432Node\" loses that part and gets the 32-bit view, which is the same place; in an offline or
  // guest registry, which has no views, the part stays. False for an empty key.
  bool AddRegFlagWOW64(os::RootKey RootHKEY, Text& sRegKey, std::uint32_t& lDesiredSAM, bool bIsGuestSession = false);

 private:
  bool ReadInto(Proc& proc, os::RegistryKey& key, TextView name, RegValue& out);

  os::Registry& registry_;
};

// --- Names of roots and texts of results, as they stand in the debug log ---

// "HKEY_LOCAL_MACHINE"; empty for a handle that is no predefined root.
[[nodiscard]] TextView RootKeyLongName(os::RootKey root);

// "Unknown Return Value." for a code without a text.
[[nodiscard]] TextView RegResultText(std::uint32_t code);

}  // namespace ovs
