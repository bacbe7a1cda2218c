#include "ovsctl/os/SystemCommands.h"

namespace ovs::os {

void AddSystemCommands(Program& /*program*/) {}

}  // namespace ovs::os
