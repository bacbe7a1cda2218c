// Names of the native file systems.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs::posix {

// The name for the type number that statfs reports, in capitals as Windows names its own; "UNKNOWN" for another.
[[nodiscard]] Text NameOfFileSystem(std::uint32_t type);

}  // namespace ovs::posix
