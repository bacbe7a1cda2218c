// Names that Windows keeps for devices.
#pragma once

#include "base/Text.h"

namespace ovs {

// True when a path's last name, without a folder, is a device's: "NUL", "con", "COM1". Whether a device hides behind a name
// with an extension as well ("nul.txt") differs from one Windows version to the next and is not answered here.
[[nodiscard]] bool IsDeviceName(TextView name);

}  // namespace ovs
