// The service from start to stop.
#pragma once

#include <memory>

#include "config/App_Common.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "events/EventSource.h"
#include "mail/engines/MailComponent.h"
#include "mail/message/AlertMailer.h"
#include "monitor/AlertLog.h"
#include "monitor/modFilterEvents.h"
#include "os/Clock.h"
#include "os/FolderWatch.h"
#include "os/Prompt.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Registry.h"
#include "platform/App_Time.h"
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
  const ckCrypt_Config& crypt;
  App_Time& time;
  os::Clock& clock;
  os::FolderWatcher& watcher;
  MailEngines& mailEngines;
  AlertMailer& mailer;
};

class Sample {
 public:
  explicit Sample(const ServiceParts& parts) : parts_(parts) {}

  // The process entry: start-up in its fixed order, the loop over event records, and the stop protocol. Returns when the
  // process shall end. Never throws: an error is reported with the trace of this procedure and ends the service without a
  // STOPPED report, so that the service control manager's recovery acts.
  void Main();

  // The program settings; null before they were loaded.
  [[nodiscard]] const Config_Class* Store() const { return store_.get(); }
  // The program settings in force, lines "key=stored value" that end in CR LF; empty before they were loaded.
  [[nodiscard]] Text ProgramSettings() const { return store_ ? store_->GetAllMatchingStrings_AsIs({}) : Text(); }

 private:
  void RunMain(Proc& proc);
  void RunService();
  void InitApp();
  void StartMailEngines();
  void InitConfig();
  void MainLoop(modFilterEvents& filter);

  ServiceParts parts_;
  std::unique_ptr<Config_Class> store_;
};

// Makes sure that the classic event-log keys of the three modern channels exist, so that their records are delivered.
// Existing keys are left alone; errors are ignored.
void RegisterLogChannels(App_Registry& registry);

}  // namespace ovs
