// A record as its source delivers it, and how its raw values become the seven fields of a record.
#pragma once

#include <cstdint>
#include <variant>

#include "base/Text.h"
#include "events/EventRecord.h"

namespace ovs {

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

}  // namespace ovs
