#include "ovsctl/replay/ReplayReport.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "base/Numbers.h"
#include "events/EventRecord.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

constexpr std::size_t kMostPieces = 160;
constexpr std::size_t kMostSources = 15;

// Shows times as the service does.
class Times {
 public:
  explicit Times(Installation& installation) : time_(installation.Time()), flags_(installation.Settings().display) {}

  [[nodiscard]] Text Shown(TextView timeGenerated) const { return RecordTimeText(time_, timeGenerated, flags_); }
  [[nodiscard]] Text Shown(Minute minute) const {
    const DateTime date = DateTimeFromTicks(minute * kTicksPerMinute);
    Text generated;
    for (const int part : {date.month, date.day, date.hour, date.minute, 0}) generated += PaddedNumberText(part, 2);
    return Shown(PaddedNumberText(date.year, 4) + generated);
  }

 private:
  App_Time& time_;
  DisplayFlags flags_;
};

// The pieces into which the time line of all rules is cut: the shortest of the lengths that need few enough of them.
class Pieces {
 public:
  explicit Pieces(const TimeSpan& span) {
    if (span.isEmpty) return;
    for (const Minute length : TimeLine::kLengths) {
      length_ = length;
      first_ = span.first / kTicksPerMinute / length;
      count_ = static_cast<std::size_t>(span.last / kTicksPerMinute / length - first_ + 1);
      if (count_ <= kMostPieces) break;
    }
  }

  [[nodiscard]] Minute Length() const { return length_; }
  [[nodiscard]] std::vector<Text> Starts(const Times& times) const {
    std::vector<Text> starts;
    starts.reserve(count_);
    for (std::size_t i = 0; i < count_; ++i) starts.push_back(times.Shown((first_ + static_cast<Minute>(i)) * length_));
    return starts;
  }
  // The stretches of a line are never longer than a piece, and never cross its ends.
  [[nodiscard]] std::vector<std::uint64_t> Counts(const TimeLine& line) const {
    if (line.Stretches().empty()) return {};
    std::vector<std::uint64_t> counts(count_);
    for (const TimeCount& each : line.Stretches()) {
      const Minute place = each.stretch * line.Length() / length_ - first_;
      if (place >= 0 && place < static_cast<Minute>(count_)) counts[static_cast<std::size_t>(place)] += each.count;
    }
    return counts;
  }

 private:
  Minute length_ = 0;
  Minute first_ = 0;
  std::size_t count_ = 0;
};

ReplayReport::Rule RuleOf(const ReplayStatistics::RuleKey& key, const RuleStatistics& statistics, const Times& times,
                          const Pieces& pieces) {
  ReplayReport::Rule rule;
  rule.isDiskCheck = key.first;
  rule.name = key.second;
  rule.matches = statistics.matches;
  for (const std::uint64_t count : statistics.hidden) rule.hidden += count;
  rule.sample = statistics.sample;
  if (statistics.span.isEmpty) return rule;
  rule.first = times.Shown(statistics.span.firstGenerated);
  rule.last = times.Shown(statistics.span.lastGenerated);
  rule.peak = statistics.busiest.Count();
  rule.peakHour = times.Shown(statistics.busiest.Start());
  rule.peakIsExact = statistics.busiest.IsExact();
  rule.line = pieces.Counts(statistics.line);
  return rule;
}

// All rules there are, and those that were there and have matched.
std::map<ReplayStatistics::RuleKey, RuleStatistics> AllRules(const ReplayStatistics& statistics, const ReplayFacts& facts,
                                                             const Text& diskRuleName) {
  auto all = statistics.Rules();
  for (const Text& name : facts.ruleNames) all.try_emplace({false, name});
  all.try_emplace({true, diskRuleName});
  return all;
}

void AddHidden(ReplayReport& report, const HiddenCounts& hidden) {
  for (int list = 0; list < GlobalExclusions::kListCount; ++list) {
    const auto which = static_cast<GlobalExclusions::List>(list);
    report.hiddenByList.push_back({Text(GlobalExclusions::FileName(which)), hidden[which]});
    report.hidden += hidden[which];
  }
}

std::string HiddenSentence(const ReplayReport& report) {
  std::string lists;
  for (const auto& [file, alerts] : report.hiddenByList) {
    if (alerts == 0) continue;
    lists += (lists.empty() ? "" : ", ") + std::to_string(alerts) + " by " + Console::Shown(file);
  }
  return Counted(report.hidden, "alert was", "alerts were") + " hidden by exclusion lists: " + lists + ".";
}

}  // namespace

ReplayReport MakeReplayReport(const ReplayStatistics& statistics, const ReplayFacts& facts, Installation& installation) {
  const Times times(installation);
  const Pieces pieces(statistics.Span());
  const MonitorSettings& settings = installation.Settings();
  ReplayReport report;
  report.recordsFrom = facts.recordsFrom;
  report.records = statistics.Records();
  report.bad = facts.bad;
  report.complete = facts.complete;
  report.otherLogs = statistics.OtherLogs();
  report.withoutTime = statistics.WithoutTime();
  report.stopPhrases = facts.stopPhrases;
  report.alerts = statistics.Alerts();
  report.diskCheckOn = facts.diskCheckOn;
  report.emailsOn = IsOn(MonitorSwitch::EventEmails, installation.Ini(), settings);
  report.mailsOfAlert = facts.mailsOfAlert;
  report.mailsIfOn = report.alerts * report.mailsOfAlert.size();
  if (!statistics.Span().isEmpty) {
    report.first = times.Shown(statistics.Span().firstGenerated);
    report.last = times.Shown(statistics.Span().lastGenerated);
  }
  AddHidden(report, statistics.HiddenByList());
  for (const auto& [key, rule] : AllRules(statistics, facts, settings.diskEventsRuleName)) {
    report.rules.push_back(RuleOf(key, rule, times, pieces));
    report.rules.back().mails = rule.mailings * report.mailsOfAlert.size();
    report.mails += report.rules.back().mails;
  }
  std::ranges::sort(report.rules, [](const ReplayReport::Rule& a, const ReplayReport::Rule& b) {
    return a.matches != b.matches ? a.matches > b.matches
                                  : std::tie(a.isDiskCheck, a.name) < std::tie(b.isDiskCheck, b.name);
  });
  report.sources = statistics.Sources().Top(kMostSources);
  report.sourcesAreExact = statistics.Sources().IsExact();
  report.stretch = pieces.Length();
  report.pieces = pieces.Starts(times);
  return report;
}

std::uint64_t RulesWithMatches(const ReplayReport& report) {
  return static_cast<std::uint64_t>(
      std::ranges::count_if(report.rules, [](const ReplayReport::Rule& rule) { return rule.matches > 0; }));
}

std::string ShareText(std::uint64_t part, std::uint64_t whole) {
  if (part == 0 || whole == 0) return "0%";
  const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
  if (percent < 0.1) return "<0.1%";
  char text[16];
  std::snprintf(text, sizeof text, "%.1f%%", percent);
  return text;
}

std::string Counted(std::uint64_t count, const std::string& one, const std::string& more) {
  return std::to_string(count) + " " + (count == 1 ? one : more);
}

std::string LengthText(Minute length) {
  struct Unit {
    Minute minutes;
    const char* one;
    const char* more;
  };
  constexpr Unit kUnits[] = {{10'080, "week", "weeks"}, {1440, "day", "days"}, {60, "hour", "hours"}};
  for (const Unit& unit : kUnits) {
    if (length % unit.minutes == 0) return Counted(static_cast<std::uint64_t>(length / unit.minutes), unit.one, unit.more);
  }
  return Counted(static_cast<std::uint64_t>(length), "minute", "minutes");
}

std::string MailSentence(const ReplayReport& report) {
  if (report.mailsOfAlert.empty()) {
    return "No mails: nobody is named who gets alerts (EmailAdminEvents in [EmailOptions] is not 1, or AdminEmail in "
           "[EmailConfig] is empty, and the client has not asked for any).";
  }
  std::string to;
  for (const modEmailSvc::Copy& copy : report.mailsOfAlert) {
    to += (to.empty() ? "" : " and ") + Console::Shown(copy.to) + (copy.isClients ? " (the client)" : " (the technician)");
  }
  if (report.emailsOn) return Counted(report.mails, "mail", "mails") + " would have gone, to " + to + ".";
  return "No mails: EventEmails in [Monitoring] is not 1. With it, " + Counted(report.mailsIfOn, "mail", "mails") +
         " would have gone, to " + to + ".";
}

std::vector<std::string> ReplayNotes(const ReplayReport& report) {
  std::vector<std::string> all;
  if (!report.complete) all.emplace_back("The records could not be read to their end.");
  if (report.bad > 0) all.push_back(Counted(report.bad, "piece was no record", "pieces were no records") + ".");
  if (report.otherLogs > 0) {
    all.push_back(Counted(report.otherLogs, "record is", "records are") + " of logs that no rule can name.");
  }
  if (report.withoutTime > 0) {
    all.push_back(Counted(report.withoutTime, "record has", "records have") + " no usable time.");
  }
  if (report.stopPhrases > 0) {
    all.push_back(Counted(report.stopPhrases, "record carries", "records carry") +
                  " the stop phrase; the service would have handled nothing behind it until its next start.");
  }
  if (report.hidden > 0) all.push_back(HiddenSentence(report));
  if (!report.diskCheckOn) all.emplace_back("The disk check is off: DiskEvents in [Monitoring] is not 1.");
  all.push_back(MailSentence(report));
  return all;
}

}  // namespace ovs
