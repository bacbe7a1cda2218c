// ovsctl start: starts the event service and waits until it runs.
#pragma once

namespace ovs::win32 {

// kDone when it runs, kFindings when it is still starting after that time.
int RunStart(unsigned waitSeconds);

}  // namespace ovs::win32
