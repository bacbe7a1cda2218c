// The service composed: every part built from one machine, run from the first line to the last dump.
#pragma once

#include "events/EventRecord.h"
#include "mail/engines/MailComponent.h"
#include "service/Modules.h"
#include "service/ServiceHost.h"

namespace ovs {

// What stands between the service and the world beside the machine's ports; all must outlive the service.
struct ServicePeers {
  ServiceHost& host;
  EventSource& source;
  MailEngines& mailEngines;
};

class modEventSvc {
 public:
  modEventSvc(const os::Machine& machine, const ServicePeers& peers) : modules_(machine), peers_(peers) {}

  // Runs the service until the process shall end, on the calling thread: attaches the process-wide diagnostics to this
  // machine, runs Sample::Main, writes the dumps. Never throws.
  void Run();

 private:
  Modules modules_;
  ServicePeers peers_;
};

}  // namespace ovs
