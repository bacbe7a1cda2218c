// Lower case without a locale.
#pragma once

#include "base/Text.h"

namespace ovs {

// Each code unit to the lower-case unit whose upper case it is (see base/Fold.h); where several have the same upper case,
// the ordinary one: "Σ" gives "σ", "I" gives "i".
[[nodiscard]] Text LowerCase(TextView text);

}  // namespace ovs
