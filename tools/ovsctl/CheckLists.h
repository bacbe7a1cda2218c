// The exclusion lists.
#pragma once

#include "CheckFindings.h"
#include "monitor/GlobalExclusions.h"

namespace ovs {

// What is wrong with the lines of one list; they belong to the file that `findings` is at.
void CheckList(GlobalExclusions& lists, GlobalExclusions::List list, Findings& findings);

}  // namespace ovs
