// Port: the records that are in this machine's own event logs.
#pragma once

#include "LiveQuery.h"
#include "Records.h"

namespace ovs::os {

// Hands the records on, oldest first, and gives how many there were; what is worth knowing besides goes to sink.onNote,
// onBad and onProgress are never called. Throws RuntimeError whose description says in plain words what is wrong and what
// to do: a service that does not run, a right that is missing, a system without event logs.
std::uint64_t ReadLiveRecords(const LiveQuery& query, const RecordSink& sink);

}  // namespace ovs::os
