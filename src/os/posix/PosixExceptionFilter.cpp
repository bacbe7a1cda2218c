#include "os/ExceptionFilter.h"

namespace ovs::os {

// Faults stay faults: the sanitizers and the debugger must see them where they happen.
bool InstallExceptionFilter(DescribeException) noexcept { return false; }

void RemoveExceptionFilter() noexcept {}

}  // namespace ovs::os
