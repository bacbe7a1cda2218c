// The exclusion lists.
#pragma once

#include "monitor/GlobalExclusions.h"
#include "ovsctl/check/CheckFindings.h"

namespace ovs {

// Finds mistakes in the lines of one list; they belong to the file that `findings` is at.
void CheckList(GlobalExclusions& lists, GlobalExclusions::List list, Findings& findings);

}  // namespace ovs
