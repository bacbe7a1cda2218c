// Asking for a secret.
#pragma once

#include <optional>

#include "base/Text.h"

namespace ovs {

// One line, typed unseen or from standard input, that is not empty and holds no control characters (they come from keys
// such as the arrows). None when there is none such; why was said. The caller wipes it. `what` names it: "password".
[[nodiscard]] std::optional<Text> AskForSecret(const char* what);

}  // namespace ovs
