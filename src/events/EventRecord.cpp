#include "events/EventRecord.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

#include "base/App_Strings.h"
#include "base/DateTime.h"
#include "base/Encoding.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr double kMillisecondsPerDay = 86'400'000.0;
// The dates that automation knows: years 100 to 9999.
constexpr double kFirstDay = -657'434.0;
constexpr double kLastDay = 2'958'466.0;

// Before 1899-12-30 the whole part counts backwards while the fraction still counts forwards from midnight.
std::optional<DateTime> DateOf(DateValue value) {
  if (!(value.days > kFirstDay - 1 && value.days < kLastDay)) return std::nullopt;
  const double day = std::trunc(value.days);
  const double ofDay = std::round(std::fabs(value.days - day) * kMillisecondsPerDay / 1000.0);
  const std::int64_t seconds = static_cast<std::int64_t>(day) * 86'400 + static_cast<std::int64_t>(ofDay);
  return DateTimeFromTicks(TicksFromDateTime({.year = 1899, .month = 12, .day = 30}) + seconds * kTicksPerSecond);
}

Text DateText(DateValue value) {
  const std::optional<DateTime> date = DateOf(value);
  if (!date) return {};
  const bool hasTime = date->hour != 0 || date->minute != 0 || date->second != 0;
  return FormatDate(*date, {.stripLeadingZeros = true, .includeTime = hasTime, .includeSeconds = true});
}

Text RealText(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.15G", value);
  return FromUtf8(text);
}

struct TextOf {
  Text operator()(std::monostate) const { return {}; }
  Text operator()(bool value) const { return value ? u"True" : u"False"; }
  Text operator()(std::int64_t value) const { return NumberText(value); }
  Text operator()(double value) const { return RealText(value); }
  Text operator()(const Text& value) const { return value; }
  Text operator()(DateValue value) const { return DateText(value); }
  Text operator()(const ObjectValue& value) const { return value.typeName; }
};

std::int16_t InRange(double number) {
  const double whole = std::nearbyint(number);  // the default mode rounds halves to even
  const bool fits = whole >= std::numeric_limits<std::int16_t>::min() && whole <= std::numeric_limits<std::int16_t>::max();
  return fits ? static_cast<std::int16_t>(whole) : std::int16_t{0};
}

// `position` counts from 1. The system's numbers here have 16 bits; four digits always fit.
int Component(TextView text, std::size_t position, std::size_t length) {
  if (text.size() < position) return 0;
  const TextView digits = App_Strings::TrimBlanks(text.substr(position - 1, length));
  return ParseInt32(digits).value_or(0);
}

}  // namespace

Text RawText(const RawValue& value) {
  const Text text = App_Strings::RemoveNuls(std::visit(TextOf(), value));
  return Text(App_Strings::TrimBlanks(text));
}

std::int16_t RawEventType(const RawValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) return InRange(static_cast<double>(*number));
  if (const auto* number = std::get_if<double>(&value)) return InRange(*number);
  const Text text = RawText(value);
  return InRange(ParseInt32(text).value_or(0));
}

EventRecord ToEventRecord(const RawRecord& raw) {
  return {.eventType = RawEventType(raw.eventType),
          .type = RawText(raw.type),
          .eventCode = RawText(raw.eventCode),
          .sourceName = RawText(raw.sourceName),
          .message = RawText(raw.message),
          .logfile = RawText(raw.logfile),
          .timeGenerated = RawText(raw.timeGenerated)};
}

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
