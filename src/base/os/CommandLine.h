// Port: what a console program gets from its command line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Text.h"

namespace ovs::os {

// The full path, as the Files port wants it, of a path that a user typed (UTF-8): "logs/app" natively gives
// "Z:\...\logs\app". The file need not exist. None when it is no path the port can carry; the pending system error tells
// why.
[[nodiscard]] std::optional<Text> FullPathOfArgument(std::string_view argument);

}  // namespace ovs::os
