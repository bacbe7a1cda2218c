#include "ovsctl/live/LiveFailure.h"

namespace ovs {

std::uint64_t ReadLive(const LiveQuery& query, const RecordSink& sink) {
  try {
    return os::ReadLiveRecords(query, sink);
  } catch (const RuntimeError& error) {
    if (error.Number() == RuntimeErrorNumber::kFileError) throw;
    throw RuntimeError(RuntimeErrorNumber::kComponent, os::LiveFailureText(error, query.log.value_or(Text())));
  }
}

}  // namespace ovs
