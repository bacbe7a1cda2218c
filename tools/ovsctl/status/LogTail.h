// The end of a log file.
#pragma once

#include <cstddef>
#include <vector>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

// The last lines of a text file of any size, oldest first; only its end is read, so very long lines may be missing. None,
// with the system error pending, when it cannot be read.
[[nodiscard]] std::vector<Text> LastLines(os::Files& files, TextView path, std::size_t most);

}  // namespace ovs
