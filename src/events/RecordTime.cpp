#include "events/RecordTime.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

// `position` counts from 1. The system's numbers here have 16 bits; four digits always fit.
int Component(TextView text, std::size_t position, std::size_t length) {
  if (text.size() < position) return 0;
  const TextView digits = App_Strings::TrimBlanks(text.substr(position - 1, length));
  return ParseInt32(digits).value_or(0);
}

}  // namespace

std::optional<DateTime> RecordTimeUTC(TextView timeGenerated) {
  return DateFromSerialParts(Component(timeGenerated, 1, 4), Component(timeGenerated, 5, 2), Component(timeGenerated, 7, 2),
                             Component(timeGenerated, 9, 2), Component(timeGenerated, 11, 2),
                             Component(timeGenerated, 13, 2));
}

Text RecordTimeText(App_Time& time, TextView timeGenerated, const DisplayFlags& flags) {
  const std::optional<DateTime> utc = RecordTimeUTC(timeGenerated);
  if (!utc) return {};
  // A date that the system cannot convert is shown as it was reached: in UTC.
  const DateTime shown = flags.timesInUTC ? *utc : time.TimeUTCtoLocal(utc).value_or(*utc);
  const DateFormat format{.stripLeadingZeros = false,
                          .yearFirst = flags.dateYearFirst,
                          .includeTime = true,
                          .includeSeconds = true,
                          .use24Hour = flags.timeAs24Hour};
  return FormatDate(shown, format);
}

}  // namespace ovs
