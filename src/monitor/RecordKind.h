// The order of decisions on a record up to the rules, and the built-in recognition of failing disks.
#pragma once

#include <functional>

#include "base/Text.h"
#include "events/EventRecord.h"

namespace ovs {

// Texts that are looked for in every message, without regard to case.
namespace Phrases {

// In a record that ends the handling of records.
inline constexpr TextView kStop = u"orvanta - stopping event service...";
// In the service control manager's report of this service's own crash.
inline constexpr TextView kOwnCrash = u"Orvanta Event Service service terminated unexpectedly";
// In a record that an administrator writes to try the way of a disk alert.
inline constexpr TextView kFakeDisk = u"Fake Disk Alert";

}  // namespace Phrases

// The kinds of records in the order in which they are told apart: a record is of the first kind that fits.
enum class RecordKind {
  StopPhrase,  // ends the handling of records
  OwnCrash,    // reports this service's own crash; nobody is alerted to it
  DiskEvent,   // taken by the disk check; no rule is tested
  Ordinary,    // for the rules
};

// The kinds that a record may be of. False says that it certainly is not, so that nothing needs to be tested.
struct RecordHints {
  bool mayBeStopPhrase = true;
  bool mayBeOwnCrash = true;
  bool mayBeDiskEvent = true;
};

// The one place where the order is decided. `isDiskEvent` is asked last and at most once: whether the disk check is on and
// takes the record; what taking means is the caller's affair. Throws only what that throws.
[[nodiscard]] RecordKind KindOf(const EventRecord& record, const RecordHints& hints,
                                const std::function<bool()>& isDiskEvent);

// The disk check's findings. The first three are disk events; of the others each is the first condition that failed.
enum class DiskFinding {
  DriverReport,  // a disk driver's report of an error
  Corruption,    // a file system's report of corruption
  TestPhrase,    // any record that carries the administrator's test phrase
  NoDiskSource,  // the source is neither a disk driver nor a file system
  NoDeviceName,  // a driver's report without "Harddisk"
  NoErrorWord,   // without "Error", "Corrupt" and "bad block"
  WhilePaging,   // with "during a paging operation", as it comes with every unplugged drive
  NoCorruption,  // a file system's report without "Corrupt"
};

// Type, event ID and log play no part.
[[nodiscard]] DiskFinding CheckForDiskEvent(TextView sourceName, TextView message);
[[nodiscard]] inline bool IsDiskEvent(DiskFinding finding) { return finding <= DiskFinding::TestPhrase; }

// False when a record of this source is a disk event only if it carries the test phrase.
[[nodiscard]] bool IsDiskSource(TextView sourceName);

}  // namespace ovs
