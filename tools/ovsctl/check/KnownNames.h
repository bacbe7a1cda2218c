// The sections and keys that the service reads, one table for each kind of file, and what their values may be.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/Text.h"

namespace ovs {

enum class ValueKind {
  Plain,
  Switch,       // on exactly when it is "1"
  WideSwitch,   // of program settings: on when it is "1" or "2", blanks aside
  Number,       // within `least` and `most`
  Addresses,    // one or more, commas between
  File,         // that exists
  EventNumber,  // what WMI calls the event code
  Scrambled,    // the SMTP password
  Secret,       // encrypted or plain
};

struct KnownKey {
  TextView section;  // empty for program settings, which know none
  TextView key;
  ValueKind kind = ValueKind::Plain;
  std::int32_t least = 0;
  std::int32_t most = 0;
};

[[nodiscard]] std::span<const KnownKey> RuleKeys();
[[nodiscard]] std::span<const KnownKey> MainSettingKeys();
[[nodiscard]] std::span<const KnownKey> ProgramSettingKeys();

// Null when there is none; case does not count.
[[nodiscard]] const KnownKey* FindKey(std::span<const KnownKey> keys, TextView section, TextView key);
// Each once, in the order of the table.
[[nodiscard]] std::vector<TextView> SectionsOf(std::span<const KnownKey> keys);
[[nodiscard]] std::vector<TextView> KeysOf(std::span<const KnownKey> keys, TextView section);
// The only section that has this key; empty when there is none or more than one.
[[nodiscard]] TextView SectionWith(std::span<const KnownKey> keys, TextView key);

}  // namespace ovs
