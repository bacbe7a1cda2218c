// Names of registry roots and texts of registry results, as they stand in the debug log.
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "os/Registry.h"

namespace ovs {

// "HKLM" and "HKEY_LOCAL_MACHINE"; empty for a handle that is no predefined root.
[[nodiscard]] TextView RootKeyShortName(os::RootKey root);
[[nodiscard]] TextView RootKeyLongName(os::RootKey root);

// "Unknown Return Value." for a code without a text.
[[nodiscard]] TextView RegResultText(std::uint32_t code);

}  // namespace ovs
