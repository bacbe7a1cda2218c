// File masks as the platform's commands understand them.
#pragma once

#include "base/Text.h"

namespace ovs {

// True when the name matches the mask: "*" stands for any characters, "?" for exactly one; without regard to case. "*.*"
// matches every name. Several masks may be joined with ";": one of them must match. Blanks around a mask do not count; an
// empty mask matches nothing.
[[nodiscard]] bool MatchesMask(TextView name, TextView masks);

}  // namespace ovs
