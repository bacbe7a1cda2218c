#include "ovsctl/replay/ReplayStatistics.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "events/EventRecord.h"
#include "monitor/Rule.h"

namespace ovs {

namespace {

constexpr std::size_t kLongestSampleName = 200;
constexpr std::size_t kLongestSampleLine = 300;

// The service makes a date of nearly any text; only what is written as one tells when a record was made.
std::optional<std::int64_t> UsableTicks(TextView timeGenerated) {
  constexpr std::size_t kDigits = 14;
  std::uint64_t written = 0;
  if (timeGenerated.size() < kDigits) return std::nullopt;
  for (const char16_t unit : timeGenerated.substr(0, kDigits)) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    written = written * 10 + static_cast<std::uint64_t>(unit - u'0');
  }
  const std::optional<DateTime> date = RecordTimeUTC(timeGenerated);
  if (!date) return std::nullopt;
  std::uint64_t understood = 0;
  for (const int part : {date->year, date->month, date->day, date->hour, date->minute, date->second}) {
    understood = understood * 100 + static_cast<std::uint64_t>(part);
  }
  if (written != understood) return std::nullopt;
  return TicksFromDateTime(*date);
}

Text FirstLine(TextView message) {
  while (!message.empty()) {
    const std::size_t end = message.find_first_of(u"\r\n");
    const TextView line = App_Strings::TrimBlanks(message.substr(0, end));
    if (!line.empty()) return Text(line.substr(0, kLongestSampleLine));
    if (end == TextView::npos) break;
    message.remove_prefix(end + 1);
  }
  return {};
}

AlertSample SampleOf(const EventRecord& record) {
  return {record.sourceName.substr(0, kLongestSampleName), record.eventCode.substr(0, kLongestSampleName),
          FirstLine(record.message)};
}

}  // namespace

void TimeSpan::Add(std::int64_t ticks, TextView timeGenerated) {
  if (isEmpty || ticks < first) {
    first = ticks;
    firstGenerated = timeGenerated;
  }
  if (isEmpty || ticks > last) {
    last = ticks;
    lastGenerated = timeGenerated;
  }
  isEmpty = false;
}

void ReplayStatistics::Take(const EventRecord& record) {
  ++records_;
  mailed_ = false;
  if (!LogNumber(record.logfile)) ++otherLogs_;
  ticks_ = UsableTicks(record.timeGenerated);
  if (ticks_) {
    span_.Add(*ticks_, record.timeGenerated);
  } else {
    ++withoutTime_;
  }
  source_ = &sources_.Of(record.sourceName);
  ++source_->records;
}

void ReplayStatistics::OnAlert(const Alert& alert) {
  RuleStatistics& rule = rules_[{alert.kind == AlertKind::Disk, Text(alert.ruleName)}];
  if (rule.matches == 0) rule.sample = SampleOf(alert.record);
  ++rule.matches;
  ++alerts_;
  if (source_ != nullptr) ++source_->alerts;
  if (mailed_) ++rule.mailings;
  mailed_ = false;
  if (ticks_) {
    const Minute minute = *ticks_ / kTicksPerMinute;
    rule.span.Add(*ticks_, alert.record.timeGenerated);
    rule.busiest.Add(minute);
    rule.line.Add(minute);
  }
  if (next_ != nullptr) next_->OnAlert(alert);
}

void ReplayStatistics::OnHidden(const HiddenAlert& alert) {
  ++hidden_[alert.list];
  ++rules_[{alert.kind == AlertKind::Disk, Text(alert.ruleName)}].hidden[alert.list];
}

}  // namespace ovs
