// The built-in recognition of failing disks and damaged file systems.
#pragma once

#include "base/Text.h"

namespace ovs {

// False when a record of this source is a disk event only if it carries the test phrase.
[[nodiscard]] bool IsDiskSource(TextView sourceName);

// What the disk check finds. The first three are disk events; of the others each is the first condition that failed.
enum class DiskFinding {
  DriverReport,  // a disk driver's report of an error
  Corruption,    // a file system's report of corruption
  TestPhrase,    // any record that carries the administrator's test phrase "Fake Disk Alert"
  NoDiskSource,  // the source is neither a disk driver nor a file system
  NoDeviceName,  // a driver's report without "Harddisk"
  NoErrorWord,   // without "Error", "Corrupt" and "bad block"
  WhilePaging,   // with "during a paging operation", as it comes with every unplugged drive
  NoCorruption,  // a file system's report without "Corrupt"
};

// Type, event ID and log play no part.
[[nodiscard]] DiskFinding CheckForDiskEvent(TextView sourceName, TextView message);

[[nodiscard]] inline bool IsDiskEvent(DiskFinding finding) { return finding <= DiskFinding::TestPhrase; }

[[nodiscard]] inline bool IsDiskEvent(TextView sourceName, TextView message) {
  return IsDiskEvent(CheckForDiskEvent(sourceName, message));
}

}  // namespace ovs
