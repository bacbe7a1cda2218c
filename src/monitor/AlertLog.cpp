#include "monitor/AlertLog.h"

#include "monitor/AlertText.h"

namespace ovs {

EventLogFiles::EventLogFiles(App_FileSystem& files, const MonitorSettings& settings)
    : files_(files), eventLogPath_(settings.eventLogPath), eventLogRuleNamesPath_(settings.eventLogRuleNamesPath) {}

void EventLogFiles::Write(const Alert& alert) {
  // Each of the two is written whatever became of the other.
  files_.SaveTextToFile(alert.logEntry, eventLogPath_, SaveMode::Append);
  files_.SaveTextToFile(AlertText::RuleNameLine(alert.timeText, alert.ruleName), eventLogRuleNamesPath_,
                        SaveMode::AppendNoDuplicates);
}

}  // namespace ovs
