// An alert as a value, what may become of it, and its three renderings.
#pragma once

#include "base/Text.h"
#include "events/EventRecord.h"
#include "monitor/GlobalExclusions.h"

namespace ovs {

enum class AlertKind {
  Rule,  // a rule matched
  Disk,  // the disk check found a disk event
};

// Owns all that it says, so it may be kept for later.
struct Alert {
  AlertKind kind = AlertKind::Rule;
  Text ruleName;
  EventRecord record;
  Text timeText;  // the record's time as it is shown
};

// An alert that an exclusion list kept from being raised. Nothing is written about it, so it holds references only; they are
// good as long as the call that hands it over.
struct HiddenAlert {
  AlertKind kind;
  TextView ruleName;
  const EventRecord& record;
  GlobalExclusions::List list;
};

// Takes alerts from the rule engine, in its thread. To stand before another, a sink gets that one at construction and hands
// on to it what it does not keep back.
class AlertSink {
 public:
  virtual ~AlertSink() = default;
  // Delivery that fails is reported to the debug log, not thrown. Throws std::bad_alloc.
  virtual void OnAlert(const Alert& alert) = 0;
  // For whoever counts.
  virtual void OnHidden(const HiddenAlert& /*alert*/) {}
};

// Pure functions; lines end in CR LF.
namespace AlertText {

// The body of the e-mail, seven lines. That of a disk alert leaves out the event type's number.
[[nodiscard]] Text MailBody(const Alert& alert);

// The four lines appended to "EventLogs.txt". Those of a disk alert leave out the event type's number and the event log.
[[nodiscard]] Text LogEntry(const Alert& alert);

// The line appended to "EventLogs_RuleNamesOnly.txt".
[[nodiscard]] Text RuleNameLine(const Alert& alert);

}  // namespace AlertText

}  // namespace ovs
