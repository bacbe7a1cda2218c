// Texts that are looked for in every message.
#pragma once

#include "base/Text.h"
#include "events/EventRecord.h"

namespace ovs::Phrases {

// In a record that ends the handling of records.
inline constexpr TextView kStop = u"orvanta - stopping event service...";
// In the service control manager's report of this service's own crash.
inline constexpr TextView kOwnCrash = u"Orvanta Event Service service terminated unexpectedly";
// In a record that an administrator writes to try the way of a disk alert.
inline constexpr TextView kFakeDisk = u"Fake Disk Alert";

[[nodiscard]] bool HasStopPhrase(TextView message);
// The service control manager's report of this service's own crash; nobody is alerted to it.
[[nodiscard]] bool IsOwnCrash(const EventRecord& record);

}  // namespace ovs::Phrases
