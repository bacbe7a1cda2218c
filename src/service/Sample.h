// The service from start to stop.
#pragma once

#include <functional>

#include "base/os/Prompt.h"
#include "config/App_Common.h"
#include "mail/AlertMailer.h"
#include "monitor/AlertLog.h"
#include "monitor/modFilterEvents.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Registry.h"
#include "platform/App_Time.h"
#include "service/EventSource.h"
#include "service/ServiceHost.h"

namespace ovs {

// What the service is composed of; all must outlive it.
struct ServiceParts {
  ServiceHost& host;
  EventSource& source;
  os::Prompt& prompt;
  App_Env& environment;
  App_Registry& registry;
  App_FileSystem& fileSystem;
  App_Common& ini;
  App_Time& time;
  AlertMailer& mailer;
};

class Sample {
 public:
  explicit Sample(const ServiceParts& parts) : parts_(parts) {}

  // The process entry: start-up in its fixed order, the loop over event records, and the stop protocol. Returns when the
  // process shall end. Never throws: an error is reported with the trace of this procedure and ends the service without a
  // STOPPED report, so that the service control manager's recovery acts.
  void Main();

 private:
  void RunService();
  void InitApp();
  void MainLoop(modFilterEvents& filter);

  ServiceParts parts_;
};

// Makes sure that the classic event-log keys of the three modern channels exist, so that their records are delivered.
// Existing keys are left alone; errors are ignored.
void RegisterLogChannels(App_Registry& registry);

}  // namespace ovs
