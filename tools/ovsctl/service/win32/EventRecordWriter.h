// Event records of the source OrvantaEventService, which commands write for the service to read.
#pragma once

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::win32 {

// The values that such a record carries besides its text.
inline constexpr TextView kEventRecordSource = u"OrvantaEventService";
inline constexpr TextView kEventRecordCode = u"1";

// Makes sure that the event source exists, with the service program as its message file: without one a record would reach
// the service with no message. Values that exist are left alone unless `renew`.
os::Error EnsureEventSource(TextView serviceProgram, bool renew = false);
// No failure when there is none.
os::Error RemoveEventSource();

// Writes a record to the Application log: event ID 1, information, the text as its one insertion string.
os::Error WriteEventRecord(TextView text);

// Appends the same record to a feed file of recorded event records, one JSON object with the seven record values a line.
// For test environments that have no event log. The file is made if missing.
os::Error AppendRecordToFeed(TextView path, TextView text);

}  // namespace ovs::win32
