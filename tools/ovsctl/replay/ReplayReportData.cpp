// The forms of the report that programs read.
#include <cmath>
#include <cstdio>

#include "base/Encoding.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Json.h"
#include "ovsctl/replay/ReplayReport.h"

namespace ovs {

namespace {

using Json = nlohmann::ordered_json;

// Null for what is not known.
Json TextOrNull(const Text& text) { return text.empty() ? Json() : Json(ToUtf8(text)); }

double Percent(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return 0;
  return std::floor(10'000.0 * static_cast<double>(part) / static_cast<double>(whole)) / 100;
}

Json SampleJson(const ReplayReport::Rule& rule) {
  if (rule.matches == 0) return {};
  return {
      {"source", ToUtf8(rule.sample.source)}, {"eventId", ToUtf8(rule.sample.id)}, {"message", ToUtf8(rule.sample.message)}};
}

Json RuleJson(const ReplayReport::Rule& rule, const ReplayReport& report) {
  Json busiest;
  if (rule.peak > 0) {
    busiest = {{"start", ToUtf8(rule.peakHour)}, {"matches", rule.peak}, {"exact", rule.peakIsExact}};
  }
  return {{"rule", ToUtf8(rule.name)},
          {"diskCheck", rule.isDiskCheck},
          {"matches", rule.matches},
          {"percent", Percent(rule.matches, report.records)},
          {"hidden", rule.hidden},
          {"mails", rule.mails},
          {"first", TextOrNull(rule.first)},
          {"last", TextOrNull(rule.last)},
          {"busiestHour", std::move(busiest)},
          {"sample", SampleJson(rule)},
          {"timeLine", rule.line}};
}

Json MailJson(const ReplayReport& report) {
  Json to = Json::array();
  for (const modEmailSvc::Copy& copy : report.mailsOfAlert) {
    to.push_back({{"address", ToUtf8(copy.to)}, {"client", copy.isClients}});
  }
  return {{"on", report.emailsOn}, {"to", std::move(to)}, {"mails", report.mails}, {"mailsIfOn", report.mailsIfOn}};
}

Json ReportJson(const ReplayReport& report) {
  Json hidden = Json::object();
  for (const auto& [file, alerts] : report.hiddenByList) hidden[ToUtf8(file)] = alerts;
  Json sources = Json::array();
  for (const auto& [name, count] : report.sources) {
    sources.push_back({{"source", ToUtf8(name)}, {"records", count.records}, {"alerts", count.alerts}});
  }
  Json pieces = Json::array();
  for (const Text& start : report.pieces) pieces.push_back(ToUtf8(start));
  Json rules = Json::array();
  for (const ReplayReport::Rule& rule : report.rules) rules.push_back(RuleJson(rule, report));
  return {{"recordsFrom", ToUtf8(report.recordsFrom)},
          {"complete", report.complete},
          {"records", report.records},
          {"bad", report.bad},
          {"otherLogs", report.otherLogs},
          {"withoutTime", report.withoutTime},
          {"stopPhrases", report.stopPhrases},
          {"first", TextOrNull(report.first)},
          {"last", TextOrNull(report.last)},
          {"alerts", report.alerts},
          {"hiddenByList", std::move(hidden)},
          {"diskCheckOn", report.diskCheckOn},
          {"mail", MailJson(report)},
          {"rules", std::move(rules)},
          {"sources", std::move(sources)},
          {"sourcesExact", report.sourcesAreExact},
          {"timeLine", {{"minutes", report.stretch}, {"starts", std::move(pieces)}}}};
}

// A table program takes a cell for a formula that begins with one of these.
bool LooksLikeFormula(TextView text) {
  static constexpr TextView kStarts = u"=+-@\t\r\n\uFF1D\uFF0B\uFF0D\uFF20";
  return !text.empty() && kStarts.find(text.front()) != TextView::npos;
}

std::string Cell(TextView text) {
  std::string cell = LooksLikeFormula(text) ? "\"'" : "\"";
  for (const char each : Console::Shown(text)) cell.append(each == '"' ? 2 : 1, each);
  return cell + "\"";
}

std::string CsvLine(const ReplayReport::Rule& rule, const ReplayReport& report) {
  char percent[16];
  std::snprintf(percent, sizeof percent, ",%.2f", Percent(rule.matches, report.records));
  const auto number = [](std::uint64_t value) { return "," + std::to_string(value); };
  return Cell(rule.name) + (rule.isDiskCheck ? ",1" : ",0") + number(rule.matches) + percent + number(rule.hidden) +
         number(rule.mails) + "," + Cell(rule.first) + "," + Cell(rule.last) + number(rule.peak) + "," +
         Cell(rule.peakHour) + "," + Cell(rule.sample.source) + "," + Cell(rule.sample.id) + "," + Cell(rule.sample.message);
}

}  // namespace

void PrintReplayJson(const ReplayReport& report) { Console::PrintJson(ReportJson(report)); }

void PrintReplayCsv(const ReplayReport& report) {
  Console::PrintCrLf(
      "rule,disk_check,matches,percent,hidden,mails,first,last,busiest_hour_matches,busiest_hour,sample_source,sample_id,"
      "sample_message");
  for (const ReplayReport::Rule& rule : report.rules) Console::PrintCrLf(CsvLine(rule, report));
}

}  // namespace ovs
