// Port: what the service control manager knows about the event service.
#pragma once

#include <cstdint>
#include <string>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

struct ServiceEntry {
  enum class Presence { NoManager, NotInstalled, Unknown, Installed };

  Presence presence = Presence::NoManager;
  Error error;  // why it is unknown
  // Of an installed one.
  bool running = false;
  std::string state;      // such as "running"
  std::string startType;  // such as "automatic"
  std::uint32_t processId = 0;
  Text programPath;
};

// Natively there is no service control manager.
[[nodiscard]] ServiceEntry LookAtService();

}  // namespace ovs::os
