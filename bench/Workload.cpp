#include "Workload.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "events/files/Records.h"
#include "monitor/RuleIndex.h"
#include "os/CommandLine.h"

namespace ovs {

namespace {

constexpr TextView kWords[] = {
    u"service",  u"entered",  u"stopped",    u"account", u"logon",     u"session",  u"network", u"address",  u"security",
    u"package",  u"failure",  u"reason",     u"status",  u"handle",    u"request",  u"driver",  u"device",   u"disk",
    u"volume",   u"detected", u"controller", u"timeout", u"directory", u"record",   u"update",  u"template", u"group",
    u"registry", u"module",   u"exception",  u"pool",    u"memory",    u"paging",   u"backup",  u"snapshot", u"cache",
    u"adapter",  u"gateway",  u"printer",    u"queue",   u"database",  u"index",    u"page",    u"engine",   u"license",
    u"user",     u"remote",   u"connection", u"alert",   u"ticket",    u"renewal",  u"source",  u"filter",   u"layer",
    u"audit",    u"target",   u"system",     u"default", u"unknown",   u"computer", u"failed",  u"required"};

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine_); }
  bool Chance(double share) { return std::uniform_real_distribution<>(0, 1)(engine_) < share; }
  template <class Table>
  const auto& Of(const Table& table) {
    return table[Below(std::size(table))];
  }
  std::size_t Length(double logMean, double logDeviation) {
    return static_cast<std::size_t>(std::lognormal_distribution<>(logMean, logDeviation)(engine_));
  }
  template <class Range>
  void Shuffle(Range& range) {
    std::ranges::shuffle(range, engine_);
  }

 private:
  std::mt19937 engine_;
};

std::vector<EventRecord> RecordedRecords() {
  std::vector<EventRecord> records;
  Text path;
  os::FullPathOfArgument(OVS_RECORDS, path).Ignore();
  const RecordReadResult read = ReadRecords(os::SystemFiles(), path,
                                            {.onRecord =
                                                 [&](const RawRecord& raw) {
                                                   EventRecord record = ToEventRecord(raw);
                                                   if (record.message.empty() || !LogNumber(record.logfile)) return;
                                                   records.push_back(std::move(record));
                                                 },
                                             .onBad = {},
                                             .onProgress = {}});
  if (!read.complete || records.empty()) throw std::runtime_error("no recorded records");
  return records;
}

// Words with numbers, names and paths between them, as messages have them; lengths as in the recorded ones.
EventRecord SyntheticRecord(Random& random) {
  static constexpr std::array<TextView, 5> kSources = {u"Service Control Manager", u"Disk", u"VSS", u"MsiInstaller",
                                                       u"Microsoft-Windows-Security-Auditing"};
  EventRecord record;
  record.eventType = static_cast<std::int16_t>(1 + random.Below(5));
  record.eventCode =
      NumberText(static_cast<std::int64_t>(random.Chance(0.5) ? 7000 + random.Below(60) : random.Below(5000)));
  record.sourceName = random.Of(kSources);
  record.logfile = random.Of(kRuleLogNames);
  record.timeGenerated = u"20240307130509.000000-000";
  const std::size_t wanted = std::clamp<std::size_t>(random.Length(5.9, 1.0), 20, 4000);
  while (record.message.size() < wanted) {
    record.message += random.Chance(0.2) ? HexText(static_cast<std::uint32_t>(random.Below(0xFFFFFFFF))) : random.Of(kWords);
    record.message += random.Chance(0.05) ? u"\r\n\t" : u" ";
  }
  if (random.Chance(0.02)) record.message += u"Zugriff verweigert: \u00DCberpr\u00FCfung l\u00E4uft";
  return record;
}

// One to three words out of a real message; one of them swapped unless the phrase is to match.
Text Phrase(Random& random, const std::vector<EventRecord>& records, bool live) {
  for (;;) {
    const std::vector<Text> words = App_Strings::Split(random.Of(records).message, u" ");
    if (words.size() < 4) continue;
    const std::size_t count = 1 + random.Below(3);
    std::vector<Text> picked(words.begin() + static_cast<std::ptrdiff_t>(random.Below(words.size() - count)), words.end());
    picked.resize(count);
    if (!live) picked[random.Below(picked.size())] = Text(random.Of(kWords)) + (random.Chance(0.5) ? u"q" : u"");
    Text phrase = App_Strings::Join(picked, u" ");
    const bool plain = std::ranges::all_of(phrase, [](char16_t unit) {
      return unit >= u' ' && unit < 0x7F && unit != u'=' && unit != u';' && unit != u'"' && unit != u'\'';
    });
    if (plain && phrase.size() >= 6 && phrase.size() <= 40) return phrase;
  }
}

struct RuleParts {
  Text logs;
  Text types;
  Text detail;
};

void OpenToAll(RuleParts& rule) {
  for (const TextView log : kRuleLogNames) rule.logs += Text(log) + u"=1\r\n";
  for (const TextView type : kRuleTypeNames) rule.types += Text(type) + u"=1\r\n";
}

RuleParts TextRule(Random& random, const std::vector<EventRecord>& records, bool live) {
  RuleParts rule;
  OpenToAll(rule);
  rule.detail = u"EventDesc=" + Phrase(random, records, live) + u"\r\n";
  return rule;
}

RuleParts MixedRule(Random& random, const std::vector<EventRecord>& records, bool live) {
  RuleParts rule;
  const EventRecord& record = random.Of(records);
  const Text id = live || random.Chance(0.4) ? record.eventCode : NumberText(60'000 + static_cast<int>(random.Below(5000)));
  const double kind = static_cast<double>(random.Below(100)) / 100;
  if (kind < 0.8) {
    rule.logs = Text(kRuleLogNames[LogNumber(record.logfile).value_or(0)]) + u"=1\r\n";
    if (random.Chance(0.3)) rule.logs += Text(random.Of(kRuleLogNames)) + u"=1\r\n";
    rule.types = u"Error=1\r\nWarning=1\r\n" + Text(kRuleTypeNames[TypeNumber(record.eventType, record.type).value_or(0)]) +
                 u"=" + (live ? u"1" : u"0") + u"\r\n" +
                 (random.Chance(0.2) ? u"Failure=1\r\nSuccess=1\r\nInfo=1\r\n" : u"");
  } else {
    OpenToAll(rule);
  }
  if (kind < 0.5 || (kind >= 0.8 && kind < 0.9)) rule.detail += u"EventID=" + id + u"\r\n";
  if (kind < 0.35 || (kind >= 0.7 && kind < 0.8)) rule.detail += u"EventSource=" + record.sourceName + u"\r\n";
  if (kind >= 0.5) rule.detail += u"EventDesc=" + Phrase(random, records, live) + u"\r\n";
  if (random.Chance(0.2)) rule.detail += u"EventDescEx=" + Text(random.Of(kWords)) + u"\r\n";
  return rule;
}

Text FileText(const RuleParts& rule) {
  return u"; a rule to measure with\r\n[LogFile]\r\n" + rule.logs + u"[EventType]\r\n" + rule.types + u"[EventDetail]\r\n" +
         rule.detail + u"[Note]\r\nText=kept by the technician\r\n";
}

std::size_t Matches(const Text& rule, const std::vector<EventRecord>& records) {
  const RuleIndex index({ConditionsOf(PlainIni(rule))});
  RuleIndex::Scratch scratch;
  std::size_t matches = 0;
  for (const EventRecord& record : records) {
    index.Find(record, scratch);
    matches += scratch.rules.size();
  }
  return matches;
}

}  // namespace

const std::vector<EventRecord>& Records(WorkloadKind kind) {
  static const std::vector<EventRecord> recorded = MakeRecords(WorkloadKind::Recorded, kRecords);
  static const std::vector<EventRecord> synthetic = MakeRecords(WorkloadKind::Synthetic, kRecords);
  return kind == WorkloadKind::Recorded ? recorded : synthetic;
}

std::vector<EventRecord> MakeRecords(WorkloadKind kind, std::size_t count) {
  Random random(7);
  std::vector<EventRecord> records;
  records.reserve(count);
  if (kind == WorkloadKind::Synthetic) {
    while (records.size() < count) records.push_back(SyntheticRecord(random));
    return records;
  }
  std::vector<EventRecord> recorded = RecordedRecords();
  random.Shuffle(recorded);
  while (records.size() < count) records.push_back(recorded[records.size() % recorded.size()]);
  return records;
}

std::vector<std::string> MakeRules(RuleKind kind, std::size_t count, const std::vector<EventRecord>& records, double share) {
  Random random(11);
  const auto make = [&](bool live) {
    return FileText(kind == RuleKind::Texts ? TextRule(random, records, live) : MixedRule(random, records, live));
  };
  // Judged by a part of the records: the share is meant roughly.
  const std::vector<EventRecord> sample(
      records.begin(), records.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(records.size(), 5000)));
  const auto wanted = static_cast<std::size_t>(share * static_cast<double>(sample.size()));
  std::vector<std::string> rules;
  std::size_t matches = 0;
  while (matches < wanted && rules.size() < count / 2) {
    const Text rule = make(true);
    const std::size_t more = Matches(rule, sample);
    if (more == 0 || matches + more > wanted + wanted / 10) continue;
    matches += more;
    rules.push_back(ToUtf8(rule));
  }
  while (rules.size() < count) {
    const Text rule = make(false);
    if (Matches(rule, sample) == 0) rules.push_back(ToUtf8(rule));
  }
  random.Shuffle(rules);
  return rules;
}

}  // namespace ovs
