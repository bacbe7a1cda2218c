// What all glue to the closed components shares: how their objects come about, and what they tell for a report.
#pragma once

#include "base/Text.h"
#include "os/win32/Automation.h"

namespace ovs::ckGlobalMod {

// An object that has accepted the unlock code. Throws RuntimeError when it cannot be made or refuses the code.
[[nodiscard]] win32::AutomationObject NewUnlockedObject(TextView progId, TextView unlockCode);

// A property as text; empty, with a debug entry, when it cannot be read: a report does not fail for it.
[[nodiscard]] Text TextProperty(const win32::AutomationObject& object, TextView property);

}  // namespace ovs::ckGlobalMod
