// The built-in recognition of failing disks and damaged file systems.
#pragma once

#include "base/Text.h"

namespace ovs {

// False when a record of this source is a disk event only if it carries the test phrase.
[[nodiscard]] bool IsDiskSource(TextView sourceName);

// True for a disk driver's report of an error, a file system's report of corruption, and any record that carries the
// administrator's test phrase "Fake Disk Alert". Type, event ID and log play no part.
[[nodiscard]] bool IsDiskEvent(TextView sourceName, TextView message);

}  // namespace ovs
