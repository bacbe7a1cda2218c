#include "ovsctl/os/ServiceManager.h"

namespace ovs::os {

ServiceEntry LookAtService() { return {}; }

}  // namespace ovs::os
