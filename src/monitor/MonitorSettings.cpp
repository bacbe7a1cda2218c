#include "monitor/MonitorSettings.h"

namespace ovs {

namespace {

constexpr TextView kOn = u"1";
constexpr TextView kMonitoring = u"Monitoring";

TextView KeyOf(MonitorSwitch which) { return which == MonitorSwitch::EventEmails ? u"EventEmails" : u"DiskEvents"; }

}  // namespace

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
  const auto isOn = [&](TextView key) { return ini.ReadINI(settings.configIniPath, u"Config", key) == kOn; };
  settings.diskEventsRuleName = ini.ReadINI(settings.configIniPath, kMonitoring, u"DiskEventsRuleName");
  if (settings.diskEventsRuleName.empty()) settings.diskEventsRuleName = u"Disk Event Alert";
  settings.display.timesInUTC = isOn(u"DisplayEventLogTimesInUTC");
  settings.display.dateYearFirst = isOn(u"DisplayEventLogDateYearFirst");
  settings.display.timeAs24Hour = isOn(u"DisplayEventLogTimeAs24Hour");
}

bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings) {
  return ini.ReadINI(settings.configIniPath, kMonitoring, KeyOf(which)) == kOn;
}

bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings, const PlainIni& content) {
  return ini.ReadINI(content, settings.configIniPath, kMonitoring, KeyOf(which)) == kOn;
}

}  // namespace ovs
