#include "monitor/MonitorSettings.h"

namespace ovs {

namespace {

const SettingName& NameOf(MonitorSwitch which) {
  return which == MonitorSwitch::EventEmails ? MainSettings::kEventEmails : MainSettings::kDiskEvents;
}

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
  const auto isOn = [&](const SettingName& setting) { return ini.IsOn(settings.configIniPath, setting); };
  settings.diskEventsRuleName = ini.ReadINI(settings.configIniPath, MainSettings::kDiskEventsRuleName);
  if (settings.diskEventsRuleName.empty()) settings.diskEventsRuleName = u"Disk Event Alert";
  settings.display.timesInUTC = isOn(MainSettings::kTimesInUtc);
  settings.display.dateYearFirst = isOn(MainSettings::kDateYearFirst);
  settings.display.timeAs24Hour = isOn(MainSettings::kTimeAs24Hour);
}

bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings) {
  return ini.IsOn(settings.configIniPath, NameOf(which));
}

bool IsOn(MonitorSwitch which, App_Common& ini, const MonitorSettings& settings, const PlainIni& content) {
  return ini.IsOn(content, settings.configIniPath, NameOf(which));
}

}  // namespace ovs
