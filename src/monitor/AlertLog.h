// Where alerts are written down, after they were handed to the alert action.
#pragma once

#include "base/Text.h"
#include "events/EventRecord.h"
#include "monitor/GlobalExclusions.h"
#include "monitor/MonitorSettings.h"
#include "platform/App_FileSystem.h"

namespace ovs {

struct Alert {
  const EventRecord& record;
  TextView ruleName;
  TextView timeText;
  Text logEntry;  // the entry for "EventLogs.txt"
  bool isDiskAlert;
};

// An alert that an exclusion list kept away.
struct HiddenAlert {
  const EventRecord& record;
  TextView ruleName;
  GlobalExclusions::List list;
  bool isDiskAlert;
};

class AlertLog {
 public:
  virtual ~AlertLog() = default;
  // Never throws for a write that fails; it is reported to the debug log.
  virtual void Write(const Alert& alert) = 0;
  // What did not become an alert is written nowhere; tools count it.
  virtual void Hidden(const HiddenAlert& /*alert*/) {}
};

// "EventLogs.txt", which gets every alert, and "EventLogs_RuleNamesOnly.txt", which gets a line once.
class EventLogFiles final : public AlertLog {
 public:
  // `files` must outlive this object.
  EventLogFiles(App_FileSystem& files, const MonitorSettings& settings);
  void Write(const Alert& alert) override;

 private:
  App_FileSystem& files_;
  Text eventLogPath_;
  Text eventLogRuleNamesPath_;
};

}  // namespace ovs
