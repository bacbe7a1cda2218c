#include "os/MemoryRegistry.h"

namespace ovs::os {

Registry& SystemRegistry() {
  static MemoryRegistry registry;
  return registry;
}

}  // namespace ovs::os
