#include "os/ProcessHardening.h"

namespace ovs::os {

// The loader has never looked into the current folder here.
void HardenProcess() noexcept {}

}  // namespace ovs::os
