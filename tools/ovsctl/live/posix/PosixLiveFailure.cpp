#include "ovsctl/live/LiveFailure.h"

namespace ovs::os {

Text LiveFailureText(const RuntimeError& error, TextView /*log*/) { return error.Description(); }

}  // namespace ovs::os
