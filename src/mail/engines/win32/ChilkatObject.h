// What the classes of the closed mail component have in common.
#pragma once

#include "os/win32/Automation.h"

namespace ovs {

// A new object that has accepted the code; throws RuntimeError when there is none.
[[nodiscard]] win32::AutomationObject NewUnlockedObject(TextView progId, TextView unlockCode);

// Puts a property that older builds of the component lack: then a debug line says so, and nothing else happens.
void PutIfKnown(const win32::AutomationObject& object, TextView property, win32::AutomationValue value);

// A property that is read for a report. One that cannot be read is empty, and a debug line tells why.
[[nodiscard]] Text TextProperty(const win32::AutomationObject& object, TextView property);

}  // namespace ovs
