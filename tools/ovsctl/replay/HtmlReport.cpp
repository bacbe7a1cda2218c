#include "ovsctl/replay/ReplayReport.h"

#include <algorithm>
#include <cstdio>

#include "base/Encoding.h"
#include "base/Version.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

using Rule = ReplayReport::Rule;

constexpr std::size_t kMostLanes = 60;

std::string Escaped(std::string_view text) {
  std::string out;
  for (const char each : text) {
    switch (each) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += each;
    }
  }
  return out;
}

// Characters that a terminal must not see are not for a page either: they would turn the direction of other text.
std::string Html(TextView text) { return Escaped(Console::Shown(text)); }

// "1,234,567"
std::string Grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, ",");
  return digits;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

// --- head

void AddHead(std::string& page) {
  page +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'sha256-";
  page += HtmlReportStyleHash();
  page +=
      "'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n"
      "<meta name=\"referrer\" content=\"no-referrer\">\n<title>Rules over past records</title>\n<style>";
  page += HtmlReportStyle();
  page += "</style>\n</head>\n<body>\n<main>\n";
}

void AddFact(std::string& page, const std::string& name, const std::string& value, const std::string& more) {
  page += "<div><dt>" + name + "</dt><dd>" + value + (more.empty() ? "" : " <small>" + more + "</small>") + "</dd></div>\n";
}

void AddSummary(std::string& page, const ReplayReport& report) {
  page += "<header>\n<p class=\"kicker\">Orvanta Event Service</p>\n<h1>Rules over past records</h1>\n<p class=\"lead\">" +
          Html(report.recordsFrom);
  if (!report.first.empty()) page += "<br>" + Html(report.first) + " to " + Html(report.last);
  page += "</p>\n</header>\n<dl class=\"facts\">\n";
  AddFact(page, "Records", Grouped(report.records), {});
  AddFact(page, "Alerts", Grouped(report.alerts), {});
  AddFact(page, "Rules that matched", Grouped(RulesWithMatches(report)), "of " + Grouped(report.rules.size()));
  AddFact(page, "Mails", Grouped(report.mails), report.emailsOn ? "" : "e-mail is off");
  page += "</dl>\n<ul class=\"notes\">\n";
  for (const std::string& note : ReplayNotes(report)) page += "<li>" + Escaped(note) + "</li>\n";
  page += "</ul>\n";
}

// --- time line

// Bars as wide as the piece of time they stand for; low ones are still to be seen.
void AddBars(std::string& page, const std::vector<std::uint64_t>& counts, const std::vector<Text>& starts,
             std::uint64_t highest) {
  constexpr double kHeight = 40;
  constexpr double kLowest = 2;
  const double width = std::min(0.8, static_cast<double>(counts.size()) / 40);
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] == 0) continue;
    const double share = static_cast<double>(counts[i]) / static_cast<double>(highest);
    const double height = std::max(kLowest, kHeight * share);
    page += "<rect x=\"" + Number(static_cast<double>(i) + (1 - width) / 2) + "\" y=\"" + Number(kHeight - height) +
            "\" width=\"" + Number(width) + "\" height=\"" + Number(height) + "\"><title>" + Html(starts[i]) + ": " +
            Grouped(counts[i]) + "</title></rect>";
  }
}

void AddLane(std::string& page, const Rule& rule, const ReplayReport& report, std::size_t number) {
  const std::string id = std::to_string(number);
  const std::uint64_t highest = std::max<std::uint64_t>(*std::ranges::max_element(rule.line), 1);
  page += "<li class=\"lane\"><span class=\"name\">" + Html(rule.name) + "</span><svg viewBox=\"0 0 " +
          std::to_string(rule.line.size()) + " 40\" preserveAspectRatio=\"none\" role=\"img\" aria-labelledby=\"t" + id +
          " d" + id + "\"><title id=\"t" + id + "\">" + Html(rule.name) + "</title><desc id=\"d" + id + "\">" +
          Grouped(rule.matches) + " matches from " + Html(rule.first) + " to " + Html(rule.last) + ", at most " +
          Grouped(highest) + " in " + LengthText(report.stretch) + ".</desc>";
  AddBars(page, rule.line, report.pieces, highest);
  page += "</svg><span class=\"top\">" + Grouped(highest) + "</span></li>\n";
}

void AddTimeLine(std::string& page, const ReplayReport& report) {
  page += "<section aria-labelledby=\"time\">\n<h2 id=\"time\">Matches along time</h2>\n";
  const auto hasLine = [](const Rule& rule) { return !rule.line.empty(); };
  const auto lanes = static_cast<std::size_t>(std::ranges::count_if(report.rules, hasLine));
  if (lanes == 0) {
    page += "<p class=\"caption\">No rule has matched a record that has a usable time.</p>\n</section>\n";
    return;
  }
  page += "<p class=\"caption\">A bar stands for " + LengthText(report.stretch) +
          ". Each row has a scale of its own; the number beside it is its highest bar.</p>\n<ul class=\"lanes\">\n";
  std::size_t number = 0;
  for (const Rule& rule : report.rules) {
    if (hasLine(rule) && number < kMostLanes) AddLane(page, rule, report, ++number);
  }
  page += "</ul>\n<p class=\"axis\"><span>" + Html(report.first) + "</span><span>" + Html(report.last) + "</span></p>\n";
  if (lanes > number) page += "<p class=\"caption\">" + Grouped(lanes - number) + " more rules are in the table only.</p>\n";
  page += "</section>\n";
}

// --- rules

// Roles keep the table a table for a reader when it is laid out as cards.
void AddCell(std::string& page, const std::string& label, const std::string& content) {
  page += "<td role=\"cell\" data-label=\"" + label + "\">" + content + "</td>";
}

std::string NameCell(const Rule& rule) {
  std::string cell = "<th role=\"rowheader\" scope=\"row\">" + Html(rule.name);
  if (rule.isDiskCheck) cell += " <small>disk check</small>";
  if (rule.matches == 0) return cell + "<span class=\"sample\">never matched</span></th>";
  const TextView colon = rule.sample.message.empty() ? u"" : u": ";
  return cell + "<span class=\"sample\">" + Html(rule.sample.source) + " " + Html(rule.sample.id) + Html(colon) +
         Html(rule.sample.message) + "</span></th>";
}

void AddRule(std::string& page, const Rule& rule, const ReplayReport& report) {
  const bool matched = rule.matches > 0;
  const auto ifAny = [](std::uint64_t count) { return count > 0 ? Grouped(count) : std::string(); };
  page += std::string("<tr role=\"row\"") + (matched ? "" : " class=\"never\"") + ">" + NameCell(rule);
  AddCell(page, "Matches", Grouped(rule.matches));
  AddCell(page, "Share", matched ? Escaped(ShareText(rule.matches, report.records)) : "");
  AddCell(page, "Mails", matched ? Grouped(rule.mails) : "");
  AddCell(page, "Hidden", ifAny(rule.hidden));
  AddCell(page, "Busiest hour",
          rule.peak == 0 ? ""
                         : "<span>" + std::string(rule.peakIsExact ? "" : "at least ") + Grouped(rule.peak) + " <small>" +
                               Html(rule.peakHour) + "</small></span>");
  AddCell(page, "First and last",
          rule.first.empty() ? "" : "<span>" + Html(rule.first) + " <small>" + Html(rule.last) + "</small></span>");
  page += "</tr>\n";
}

void AddRules(std::string& page, const ReplayReport& report) {
  page +=
      "<section aria-labelledby=\"rules\">\n<h2 id=\"rules\">Rules</h2>\n"
      "<p class=\"caption\">Under each rule the first record that it matched. Hidden are alerts that an exclusion list kept "
      "away.</p>\n<table role=\"table\" class=\"rules\" aria-labelledby=\"rules\">\n<thead role=\"rowgroup\"><tr "
      "role=\"row\">";
  for (const char* const name : {"Rule", "Matches", "Share", "Mails", "Hidden", "Busiest hour", "First and last"}) {
    page += std::string("<th role=\"columnheader\" scope=\"col\">") + name + "</th>";
  }
  page += "</tr></thead>\n<tbody role=\"rowgroup\">\n";
  for (const Rule& rule : report.rules) AddRule(page, rule, report);
  page += "</tbody>\n</table>\n</section>\n";
}

// --- sources

void AddSources(std::string& page, const ReplayReport& report) {
  if (report.sources.empty()) return;
  page +=
      "<section aria-labelledby=\"sources\">\n<h2 id=\"sources\">Top sources</h2>\n<p class=\"caption\">The bar shows the "
      "source's records, its stronger part those that raised alerts.";
  if (!report.sourcesAreExact) page += " There are very many sources; counts are the least that they can be.";
  page +=
      "</p>\n<table class=\"sources\" aria-labelledby=\"sources\">\n<thead><tr><th scope=\"col\">Source</th>"
      "<th scope=\"col\">Records</th><th scope=\"col\">Alerts</th></tr></thead>\n<tbody>\n";
  const auto most = static_cast<double>(std::max<std::uint64_t>(report.sources.front().count.records, 1));
  for (const auto& [name, count] : report.sources) {
    const double records = 100 * static_cast<double>(count.records) / most;
    // A record can raise several alerts.
    const double alerts = std::min(records, 100 * static_cast<double>(count.alerts) / most);
    page += "<tr><th scope=\"row\">" + (name.empty() ? "<i>no name</i>" : Html(name)) +
            "<svg aria-hidden=\"true\"><rect class=\"all\" width=\"" + Number(records) +
            "%\" height=\"100%\"/><rect width=\"" + Number(alerts) + "%\" height=\"100%\"/></svg></th><td>" +
            Grouped(count.records) + "</td><td>" + Grouped(count.alerts) + "</td></tr>\n";
  }
  page += "</tbody>\n</table>\n</section>\n";
}

}  // namespace

std::string HtmlReport(const ReplayReport& report) {
  std::string page;
  AddHead(page);
  AddSummary(page, report);
  AddTimeLine(page, report);
  AddRules(page, report);
  AddSources(page, report);
  page += "<footer>Made by ovsctl ";
  page += kVersionUtf8;
  page += ". Times are shown as the service shows them.</footer>\n</main>\n</body>\n</html>\n";
  return page;
}

}  // namespace ovs
