// Where the monitor finds and leaves its files, and its part of the main settings file.
#pragma once

#include "base/Text.h"
#include "config/App_Common.h"
#include "events/EventRecord.h"

namespace ovs {

struct MonitorSettings {
  Text applicationFolder;      // ends in "\"
  Text configIniPath;          // Config\Orvanta.ini
  Text rulesFolder;            // Config\Rules, without a trailing "\"
  Text eventLogPath;           // EventLogs.txt
  Text eventLogRuleNamesPath;  // EventLogs_RuleNamesOnly.txt
  Text diskEventsRuleName;     // never empty once read
  DisplayFlags display;
};

// The paths below an application folder that ends in "\".
[[nodiscard]] MonitorSettings PathsOf(TextView applicationFolder);

// Reads once, at start, the rule name of disk alerts and the display flags from the main settings file. A flag is on exactly
// when its text is "1"; an empty name becomes "Disk Event Alert".
void ReadDisplaySettings(App_Common& ini, MonitorSettings& settings);

// The keys of section "Monitoring" that count as they are on disk whenever they are used.
enum class MonitorSwitch {
  EventEmails,  // alerts are mailed
  DiskEvents,   // the disk check is on
};

// On exactly when the key's text is "1"; off when the file cannot be read. The first reads the main settings file at this
// moment, the second looks into what was read of it.
[[nodiscard]] bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings);
[[nodiscard]] bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings, const PlainIni& content);

}  // namespace ovs
