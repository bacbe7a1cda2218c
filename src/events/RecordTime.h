// The time of a record as it is shown in alerts and logs.
#pragma once

#include "base/DateTime.h"
#include "base/Text.h"
#include "platform/App_Time.h"

namespace ovs {

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
