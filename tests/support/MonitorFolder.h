// An application folder in memory and all that the rule engine works with over it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "monitor/AlertSink.h"
#include "monitor/modFilterEvents.h"
#include "platform/FileContent.h"
#include "support/FakeClock.h"
#include "support/FakeSystem.h"
#include "support/FakeWatcher.h"
#include "support/FaultyFiles.h"
#include "support/MemoryFiles.h"

namespace ovs {

struct MonitorFolder {
  MonitorFolder() {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"}) memory.CreateDir(folder);
  }

  // Names below the application folder, names in the rules folder, and the lines of section [Monitoring].
  void Put(TextView name, std::string_view bytes) { memory.Write(u"C:\\App\\" + Text(name), bytes); }
  void Delete(TextView name) { memory.Delete(u"C:\\App\\" + Text(name)); }
  void Rule(TextView name, std::string_view bytes) { Put(u"Config\\Rules\\" + Text(name), bytes); }
  void DeleteRule(TextView name) { Delete(u"Config\\Rules\\" + Text(name)); }
  void Monitoring(const std::string& lines) { Put(u"Config\\Orvanta.ini", "[Monitoring]\r\n" + lines); }
  std::string Content(TextView name) {
    std::string bytes;
    ReadFileBytes(memory, u"C:\\App\\" + Text(name), bytes);
    return bytes;
  }

  // As the service reads them at its start.
  MonitorSettings Settings() {
    MonitorSettings settings = PathsOf(u"C:\\App\\");
    ReadDisplaySettings(ini, settings);
    return settings;
  }
  RuleBookParts BookParts() { return {.fileSystem = fileSystem, .ini = ini, .clock = clock, .watcher = watcher}; }
  FilterParts Parts(AlertSink& alerts) {
    return {.fileSystem = fileSystem, .ini = ini, .time = time, .clock = clock, .watcher = watcher, .alerts = alerts};
  }

  fakes::MemoryFiles memory;
  fakes::FaultyFiles files{memory};
  fakes::FakeSystem system;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  fakes::FakeWatcher watcher;
  App_FileSystem fileSystem{files, system};
  App_Common ini{files};
  App_Time time{clock, zone, files};
};

// The engine with the sinks that the service gives it.
class ServiceEngine {
 public:
  ServiceEngine(MonitorFolder& folder, AlertMailer& mailer) : ServiceEngine(folder, mailer, folder.Settings()) {}
  void Handle(const EventRecord& record) { filter_.FindEvents(record); }
  modFilterEvents& Filter() { return filter_; }

 private:
  ServiceEngine(MonitorFolder& folder, AlertMailer& mailer, const MonitorSettings& settings)
      : action_(folder.ini, mailer, settings), log_(folder.fileSystem, settings), filter_(folder.Parts(alerts_), settings) {}

  AlertAction action_;
  EventLogFiles log_;
  AlertSequence alerts_{{action_, log_}};
  modFilterEvents filter_;
};

// Remembers rule names.
class AlertNames final : public AlertSink {
 public:
  void OnAlert(const Alert& alert) override {
    raised.push_back(alert.ruleName);
    if (onAlert) onAlert();
  }
  void OnHidden(const HiddenAlert& alert) override { hidden.emplace_back(alert.ruleName); }

  std::vector<Text> raised;
  std::vector<Text> hidden;
  std::function<void()> onAlert;
};

}  // namespace ovs
