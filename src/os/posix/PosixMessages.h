// The texts of the commonest system error numbers, for builds without Windows' own.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Text.h"

namespace ovs::posix {

// In English and ending in CR LF, as Windows delivers them.
[[nodiscard]] std::optional<Text> MessageOf(std::uint32_t number);

}  // namespace ovs::posix
