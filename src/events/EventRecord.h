// An event-log record: as a source delivers it, as the rest of the system knows it, and its time as it is shown.
#pragma once

#include <cstdint>
#include <optional>
#include <variant>

#include "base/DateTime.h"
#include "base/Text.h"
#include "platform/App_Time.h"

namespace ovs {

// One record after cleaning. The texts have lost their NUL characters and outer blanks; line breaks inside `message` are
// kept.
struct EventRecord {
  std::int16_t eventType = 0;  // 1 Error, 2 Warning, 3 Information, 4 Audit Success, 5 Audit Failure; others possible
  Text type;                   // the type as text, such as "Error"
  Text eventCode;              // the event ID, decimal, compared as text
  Text sourceName;
  Text message;        // may be empty
  Text logfile;        // the log's (channel's) name, such as "System"
  Text timeGenerated;  // yyyymmddHHMMSS.ffffff and a signed minute offset, UTC
};

// A date as the system's automation values carry it: days since 1899-12-30 00:00, the time of day as the fraction.
struct DateValue {
  double days = 0;
  bool operator==(const DateValue&) const = default;
};

// Some object, known by the name of its type.
struct ObjectValue {
  Text typeName;
  bool operator==(const ObjectValue&) const = default;
};

// A property's value as the source delivers it. monostate: null, or a kind of value that has no text form.
using RawValue = std::variant<std::monostate, bool, std::int64_t, double, Text, DateValue, ObjectValue>;

struct RawRecord {
  RawValue eventType;
  RawValue type;
  RawValue eventCode;
  RawValue sourceName;
  RawValue message;
  RawValue logfile;
  RawValue timeGenerated;
};

// The ordinary text form: a number in decimal, "True" or "False", a date as "3/7/2024 1:05:09 PM" (without the time at
// midnight), an object as the name of its type, null as nothing. NULs and outer blanks are removed.
[[nodiscard]] Text RawText(const RawValue& value);

// The number when it is one of 16 bits or a text that is one; a fraction is rounded, halves to the even neighbour. 0 for
// anything else, so that the type's text decides.
[[nodiscard]] std::int16_t RawEventType(const RawValue& value);

[[nodiscard]] EventRecord ToEventRecord(const RawRecord& raw);

// Port: the source of event-log records.
class EventSource {
 public:
  virtual ~EventSource() = default;

  // Subscribes to every record created from now on; records wait in the source until they are asked for. Throws
  // RuntimeError when the system refuses.
  virtual void Connect() = 0;

  // Blocks until the next record is there. Throws RuntimeError when the source fails.
  virtual RawRecord NextEvent() = 0;
};

// How record times are shown.
struct DisplayFlags {
  bool timesInUTC = false;
  bool dateYearFirst = false;
  bool timeAs24Hour = false;
};

// The UTC date and time in the first 14 characters of a WMI datetime text. A component that is missing or no number
// counts as 0, and what lies outside the calendar carries over (see DateFromSerialParts). None when the outcome is no
// date at all.
[[nodiscard]] std::optional<DateTime> RecordTimeUTC(TextView timeGenerated);

// The display text, such as "03/07/2024 01:05:09 PM"; local time unless the flags say UTC. Empty when `timeGenerated`
// gives no date.
[[nodiscard]] Text RecordTimeText(App_Time& time, TextView timeGenerated, const DisplayFlags& flags);

}  // namespace ovs
