// Port: the arguments and the secrets that a user types at a console program.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

// The full path, as the Files port wants it, of a path that a user typed (UTF-8): "logs/app" natively gives
// "Z:\...\logs\app". The file need not exist. Fails when it is no path the port can carry.
Error FullPathOfArgument(std::string_view argument, Text& out);

// A secret never has as many characters; what is typed beyond is not read.
inline constexpr std::size_t kLongestSecretLine = 1024;

// One line from standard input without its line end; not echoed where it is typed. Other input than a terminal's is UTF-8,
// a byte-order mark does not count. None at the end of input. The memory that the call used itself is wiped.
[[nodiscard]] std::optional<Text> ReadSecretLine();

// --- For the adapters ---

// Takes bytes until a line feed, the end of input (`next` gives false) or the limit; see ReadSecretLine.
[[nodiscard]] std::optional<Text> SecretLineOf(const std::function<bool(char&)>& next);

}  // namespace ovs::os
