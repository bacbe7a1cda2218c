#include "mail/BuiltInEngines.h"
#include "mail/os/MailMachine.h"

namespace ovs {

std::unique_ptr<MailEngines> SystemMailEngines(const MailMachine& machine) {
  return std::make_unique<BuiltInEngines>(machine);
}

// OpenSSL goes on using the system's folder of authorities beside those that it is given.
std::string TrustedRoots() { return {}; }

}  // namespace ovs
