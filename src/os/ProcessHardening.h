// Port: what a process gives up at its start so that others cannot make use of it.
#pragma once

namespace ovs::os {

// Before anything else in a program. Windows: libraries are looked for in the system folder alone, whatever the current
// folder or PATH holds (those that a registered component names by its path still load), none comes from another machine,
// and a damaged heap ends the process. Nothing elsewhere.
void HardenProcess() noexcept;

}  // namespace ovs::os
