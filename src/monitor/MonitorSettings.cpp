#include "monitor/MonitorSettings.h"

namespace ovs {

MonitorSettings PathsOf(TextView applicationFolder) {
  MonitorSettings settings;
  settings.applicationFolder = applicationFolder;
  settings.configIniPath = settings.applicationFolder + u"Config\\Orvanta.ini";
  settings.rulesFolder = settings.applicationFolder + u"Config\\Rules";
  settings.eventLogPath = settings.applicationFolder + u"EventLogs.txt";
  settings.eventLogRuleNamesPath = settings.applicationFolder + u"EventLogs_RuleNamesOnly.txt";
  return settings;
}

void ReadDisplaySettings(App_Common& ini, MonitorSettings& settings) {
  const auto isOn = [&](TextView key) { return ini.ReadINI(settings.configIniPath, u"Config", key) == u"1"; };
  settings.diskEventsRuleName = ini.ReadINI(settings.configIniPath, u"Monitoring", u"DiskEventsRuleName");
  if (settings.diskEventsRuleName.empty()) settings.diskEventsRuleName = u"Disk Event Alert";
  settings.display.timesInUTC = isOn(u"DisplayEventLogTimesInUTC");
  settings.display.dateYearFirst = isOn(u"DisplayEventLogDateYearFirst");
  settings.display.timeAs24Hour = isOn(u"DisplayEventLogTimeAs24Hour");
}

}  // namespace ovs
