// What measurements of long runs need of the machine.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Text.h"

namespace ovs {

// A file of that size that begins with `start`; the rest are zeros that take no room on the disk.
void MakeLongFile(TextView path, std::string_view start, std::uint64_t bytes);

// Files and whatever else this process holds open.
[[nodiscard]] std::size_t OpenHandles();

}  // namespace ovs
