// Port: the records that are in this machine's own event logs.
#pragma once

#include "events/LiveQuery.h"
#include "events/files/Records.h"

namespace ovs::os {

// Hands the records on, oldest first, and gives how many there were; what is worth knowing besides goes to sink.onNote,
// onBad and onProgress are never called. Throws RuntimeError: kFileError, in plain words, when the records cannot be put
// down for sorting; else what the system answered, or that it has no event logs.
std::uint64_t ReadLiveRecords(const LiveQuery& query, const RecordSink& sink);

}  // namespace ovs::os
