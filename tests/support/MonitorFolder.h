// An application folder in memory and all that the rule engine works with over it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "monitor/AlertSink.h"
#include "monitor/EventLogFiles.h"
#include "monitor/modFilterEvents.h"
#include "service/Modules.h"
#include "support/TestMachine.h"

namespace ovs {

// A rule that every error record of the log System matches, and such a record.
inline constexpr const char* kOpenRule = "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n";
inline EventRecord ErrorRecord(Text message = u"text", Text source = u"src") {
  return {1, u"Error", u"7", std::move(source), std::move(message), u"System", u"20240307130509.000000-000"};
}

struct MonitorFolder : fakes::TestMachine {
  MonitorFolder() { Put(u"C:\\App\\Config\\Rules\\notes.txt"); }

  // A file of the rules folder, and the lines of section [Monitoring].
  void Rule(TextView name, std::string_view bytes) { Put(PathOfRule(name), bytes); }
  void DeleteRule(TextView name) { disk.Delete(PathOfRule(name)).Ignore(); }
  void Monitoring(const std::string& lines) { Put(u"C:\\App\\Config\\Orvanta.ini", "[Monitoring]\r\n" + lines); }
  static Text PathOfRule(TextView name) { return u"C:\\App\\Config\\Rules\\" + Text(name); }

  // As the service reads them at its start.
  MonitorSettings Settings() {
    MonitorSettings settings = PathsOf(u"C:\\App\\");
    ReadDisplaySettings(modules.ini, settings);
    return settings;
  }
  RuleBookParts BookParts() {
    return {.fileSystem = modules.fileSystem, .ini = modules.ini, .clock = clock, .watcher = watcher};
  }
  FilterParts Parts(AlertSink& alerts) {
    return {.fileSystem = modules.fileSystem,
            .ini = modules.ini,
            .time = modules.time,
            .clock = clock,
            .watcher = watcher,
            .alerts = alerts};
  }

  Modules modules{Ports()};
};

// The engine with the sinks that the service gives it.
class ServiceEngine {
 public:
  ServiceEngine(MonitorFolder& folder, AlertMailer& mailer) : ServiceEngine(folder, mailer, folder.Settings()) {}
  void Handle(const EventRecord& record) { filter_.FindEvents(record); }
  modFilterEvents& Filter() { return filter_; }
  EventLogFiles& Log() { return log_; }

 private:
  ServiceEngine(MonitorFolder& folder, AlertMailer& mailer, const MonitorSettings& settings)
      : action_(folder.modules.ini, mailer, settings),
        log_(folder.modules.fileSystem, folder.clock, settings),
        filter_(folder.Parts(alerts_), settings) {}

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
