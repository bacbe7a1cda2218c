// Where the monitor finds and leaves its files, and what it reads once at start.
#pragma once

#include "base/Text.h"
#include "config/App_Common.h"
#include "events/RecordTime.h"

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

// Reads the rule name of disk alerts and the display flags from the main settings file. A flag is on exactly when its
// text is "1"; an empty name becomes "Disk Event Alert".
void ReadDisplaySettings(App_Common& ini, MonitorSettings& settings);

}  // namespace ovs
