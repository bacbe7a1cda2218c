// The report of a replay: every figure and every text ready to be written in one form or another.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mail/message/modEmailSvc.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/replay/ReplayStatistics.h"

namespace ovs {

struct ReplayReport {
  // A rule file, or the disk check.
  struct Rule {
    Text name;
    bool isDiskCheck = false;
    std::uint64_t matches = 0;
    std::uint64_t hidden = 0;  // by exclusion lists
    std::uint64_t mails = 0;   // that would have gone with the settings as they are
    Text first;                // times as the service shows them; empty without matches that have a time
    Text last;
    std::uint64_t peak = 0;  // matches in the busiest hour
    Text peakHour;           // its start
    bool peakIsExact = true;
    AlertSample sample;
    std::vector<std::uint64_t> line;  // matches along the time line; empty when there are none
  };
  struct HiddenByList {
    Text file;
    std::uint64_t alerts = 0;
  };

  Text recordsFrom;  // a file, or the live logs
  std::uint64_t records = 0;
  std::uint64_t bad = 0;  // pieces that were no records
  bool complete = true;   // false when reading broke off
  std::uint64_t otherLogs = 0;
  std::uint64_t withoutTime = 0;
  std::uint64_t stopPhrases = 0;
  std::uint64_t alerts = 0;
  std::uint64_t hidden = 0;
  std::vector<HiddenByList> hiddenByList;  // the three in their order
  Text first;                              // empty when no record has a usable time
  Text last;

  bool diskCheckOn = false;
  bool emailsOn = false;                        // EventEmails
  std::vector<modEmailSvc::Copy> mailsOfAlert;  // the mails that one alert makes
  std::uint64_t mails = 0;
  std::uint64_t mailsIfOn = 0;

  std::vector<Rule> rules;                  // the most matches first; all rules are here
  std::vector<SourceTally::Named> sources;  // the most records first
  bool sourcesAreExact = true;

  Minute stretch = 0;        // how long a piece of the time line is
  std::vector<Text> pieces;  // when each of them starts
};

// Facts that are not in the statistics.
struct ReplayFacts {
  Text recordsFrom;
  std::uint64_t bad = 0;
  bool complete = true;
  std::uint64_t stopPhrases = 0;
  std::vector<Text> ruleNames;
  bool diskCheckOn = false;
  std::vector<modEmailSvc::Copy> mailsOfAlert;
};

[[nodiscard]] ReplayReport MakeReplayReport(const ReplayStatistics& statistics, const ReplayFacts& facts,
                                            Installation& installation);

// The number of rules that have matched.
[[nodiscard]] std::uint64_t RulesWithMatches(const ReplayReport& report);
// "12.3%", "<0.1%" for little, "0%" for nothing.
[[nodiscard]] std::string ShareText(std::uint64_t part, std::uint64_t whole);
// A count with its word: "1 record", "2 records".
[[nodiscard]] std::string Counted(std::uint64_t count, const std::string& one, const std::string& more);
// "5 minutes", "1 day"; the length of a piece of the time line.
[[nodiscard]] std::string LengthText(Minute length);
// The number of mails that go, or would, and their recipients; one sentence or two.
[[nodiscard]] std::string MailSentence(const ReplayReport& report);
// Remarks on the records and the settings, a sentence or two each; safe to show.
[[nodiscard]] std::vector<std::string> ReplayNotes(const ReplayReport& report);

// --- forms, on standard output

// Fits 100 columns; below each other on a terminal that has fewer than the table needs.
void PrintReplayText(const ReplayReport& report);
void PrintReplayJson(const ReplayReport& report);
void PrintReplayCsv(const ReplayReport& report);

// --- one page that needs nothing else: no script, no request, no outside file

// In UTF-8. Texts out of records and rule files stand in it as text, whatever they hold.
[[nodiscard]] std::string HtmlReport(const ReplayReport& report);
// The page's style sheet, and its SHA-256 in Base64, by which the page allows this style and no other.
[[nodiscard]] std::string_view HtmlReportStyle();
[[nodiscard]] std::string_view HtmlReportStyleHash();

}  // namespace ovs
