// This machine's own event records, and in plain words why there are none.
#pragma once

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "events/LiveRecords.h"

namespace ovs {

// os::ReadLiveRecords; throws RuntimeError whose description says in plain words what is wrong and what to do: a service
// that does not run, a right that is missing, a system without event logs.
std::uint64_t ReadLive(const LiveQuery& query, const RecordSink& sink);

namespace os {

// Port: what a failure of the system's event logs means and what to do about it. `log` is the log that was asked for, empty
// for all.
[[nodiscard]] Text LiveFailureText(const RuntimeError& error, TextView log);

}  // namespace os
}  // namespace ovs
