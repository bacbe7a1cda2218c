#include "base/RuntimeError.h"
#include "events/LiveRecords.h"

namespace ovs::os {

std::uint64_t ReadLiveRecords(const LiveQuery& /*query*/, const RecordSink& /*sink*/) {
  throw RuntimeError(RuntimeErrorNumber::kComponent,
                     u"this system has no Windows event logs; give a file of records that was written on Windows");
}

}  // namespace ovs::os
