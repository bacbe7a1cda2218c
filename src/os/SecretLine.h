// The part that the adapters of os::ReadSecretLine share.
#pragma once

#include <functional>
#include <optional>

#include "base/Text.h"

namespace ovs {

// Takes bytes until a line feed, the end of input (`next` gives false) or the limit; see os::ReadSecretLine.
[[nodiscard]] std::optional<Text> SecretLineOf(const std::function<bool(char&)>& next);

}  // namespace ovs
