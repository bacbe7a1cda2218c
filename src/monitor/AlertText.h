// The three renderings of a record that led to an alert. Pure functions; lines end in CR LF.
#pragma once

#include "base/Text.h"
#include "events/EventRecord.h"

namespace ovs::AlertText {

// The body of the alert e-mail, seven lines.
[[nodiscard]] Text RuleAlert(TextView timeText, TextView ruleName, const EventRecord& record);
// As above, without the event type's number.
[[nodiscard]] Text DiskAlert(TextView timeText, TextView ruleName, const EventRecord& record);

// The four lines appended to "EventLogs.txt".
[[nodiscard]] Text RuleLogEntry(TextView timeText, TextView ruleName, const EventRecord& record);
// As above, without the event type's number and without the event log.
[[nodiscard]] Text DiskLogEntry(TextView timeText, TextView ruleName, const EventRecord& record);

// The line appended to "EventLogs_RuleNamesOnly.txt".
[[nodiscard]] Text RuleNameLine(TextView timeText, TextView ruleName);

}  // namespace ovs::AlertText
