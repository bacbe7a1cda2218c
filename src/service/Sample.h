// The service from start to stop.
#pragma once

#include <memory>

#include "config/Config_Class.h"
#include "monitor/modFilterEvents.h"
#include "service/modEventSvc.h"

namespace ovs {

class Sample {
 public:
  // Both must outlive it.
  Sample(Modules& modules, const ServicePeers& peers) : modules_(modules), peers_(peers) {}

  // The process entry: start-up in its fixed order, the loop over event records, and the stop protocol. Returns when the
  // process shall end. Never throws: an error is reported with the trace of this procedure and ends the service without a
  // STOPPED report, so that the service control manager's recovery acts.
  void Main();

  // The application's caption; empty before the start-up has come to it.
  [[nodiscard]] const Text& Caption() const { return caption_; }
  // The program settings in force, lines "key=stored value" that end in CR LF; empty before they were loaded.
  [[nodiscard]] Text ProgramSettings() const { return store_ ? store_->GetAllMatchingStrings_AsIs({}) : Text(); }

 private:
  void RunMain(Proc& proc);
  void Explain(TextView text);
  void RunService();
  void ReadSettingsForLog();
  void RunMonitor();
  void InitApp();
  void StartMailEngines();
  void InitConfig();
  void MainLoop(modFilterEvents& filter, class EventLogFiles& log);

  Modules& modules_;
  ServicePeers peers_;
  std::unique_ptr<Config_Class> store_;
  Text caption_;
  bool endedUnread_ = false;  // an error has ended the start-up before the settings were read
};

// Makes sure that the classic event-log keys of the three modern channels exist, so that their records are delivered.
// Existing keys are left alone; errors are ignored.
void RegisterLogChannels(App_Registry& registry);

}  // namespace ovs
