// The form of the report that people read on a terminal.
#include <algorithm>

#include "base/Encoding.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/os/Terminal.h"
#include "ovsctl/replay/ReplayReport.h"

namespace ovs {

namespace {

using Console::Style;

constexpr std::size_t kWidth = 100;
constexpr std::size_t kColumns = 7;
constexpr std::size_t kNarrowestName = 12;

// Characters, for the texts here mostly one column each.
std::size_t Length(const std::string& text) { return FromUtf8(text).size(); }

std::string Padded(const std::string& text, std::size_t width, bool right) {
  const std::size_t length = Length(text);
  const std::string blanks(width > length ? width - length : 0, ' ');
  return right ? blanks + text : text + blanks;
}

// Prints a sentence, broken between words.
void PrintWrapped(const std::string& sentence, std::size_t width, std::size_t indent) {
  std::string line;
  for (std::size_t at = 0; at < sentence.size();) {
    const std::size_t end = std::min(sentence.find(' ', at), sentence.size());
    const std::string word = sentence.substr(at, end - at);
    if (!line.empty() && indent + Length(line) + 1 + Length(word) > width) {
      Console::Print(std::string(indent, ' ') + line);
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
    at = end + 1;
  }
  Console::Print(std::string(indent, ' ') + line);
}

using Cells = std::array<std::string, kColumns>;

Cells CellsOf(const ReplayReport::Rule& rule, const ReplayReport& report) {
  const std::string peak = (rule.peakIsExact ? "" : ">=") + std::to_string(rule.peak);
  return {Console::Shown(rule.name),
          std::to_string(rule.matches),
          ShareText(rule.matches, report.records),
          std::to_string(rule.mails),
          peak,
          Console::Shown(rule.first),
          Console::Shown(rule.last)};
}

constexpr bool kRight[kColumns] = {false, true, true, true, true, false, false};

// The widths that the columns need; the first gets what is left.
class Layout {
 public:
  explicit Layout(const std::vector<Cells>& table) {
    for (const Cells& cells : table) {
      for (std::size_t i = 0; i < kColumns; ++i) widths_[i] = std::max(widths_[i], Length(cells[i]));
    }
    std::size_t others = 0;
    for (std::size_t i = 1; i < kColumns; ++i) others += widths_[i] + kGap;
    const std::size_t left = others < kWidth ? kWidth - others : 0;
    widths_[0] = std::clamp(left, kNarrowestName, std::max(kNarrowestName, widths_[0]));
    width_ = widths_[0] + others;
  }

  [[nodiscard]] std::size_t Width() const { return width_; }

  // A name that is too long has a line of its own.
  void PrintRow(const Cells& cells, Style style) const {
    std::string line = Padded(cells[0], widths_[0], false);
    if (Length(cells[0]) > widths_[0]) {
      Console::Print(Console::Styled(style, cells[0]));
      line = std::string(widths_[0], ' ');
    }
    for (std::size_t i = 1; i < kColumns; ++i) line += std::string(kGap, ' ') + Padded(cells[i], widths_[i], kRight[i]);
    line.erase(line.find_last_not_of(' ') + 1);
    Console::Print(Console::Styled(style, line));
  }

 private:
  static constexpr std::size_t kGap = 2;

  std::array<std::size_t, kColumns> widths_{};
  std::size_t width_ = 0;
};

std::string SampleLine(const ReplayReport::Rule& rule, std::size_t width) {
  const Text text = rule.sample.source + u" " + rule.sample.id + u": " + rule.sample.message;
  return "  " + Console::Shown(text, width - 2);
}

void PrintTable(const ReplayReport& report, const std::vector<Cells>& table, const Layout& layout) {
  layout.PrintRow(table.front(), Style::Bold);
  for (std::size_t i = 0; i < report.rules.size(); ++i) {
    const ReplayReport::Rule& rule = report.rules[i];
    layout.PrintRow(table[i + 1], rule.matches > 0 ? Style::Plain : Style::Faint);
    if (rule.matches > 0) Console::Print(Console::Styled(Style::Faint, SampleLine(rule, layout.Width())));
  }
}

void PrintStacked(const ReplayReport& report, const std::vector<Cells>& table, std::size_t width) {
  for (std::size_t i = 0; i < report.rules.size(); ++i) {
    const ReplayReport::Rule& rule = report.rules[i];
    const Cells& cells = table[i + 1];
    Console::Print(Console::Styled(rule.matches > 0 ? Style::Bold : Style::Faint, Console::Shown(rule.name, width)));
    if (rule.matches == 0) {
      Console::Print(Console::Styled(Style::Faint, "  never matched"));
      continue;
    }
    PrintWrapped(Counted(rule.matches, "match", "matches") + ", " + cells[2] + ", " + Counted(rule.mails, "mail", "mails"),
                 width, 2);
    if (rule.peak > 0) {
      PrintWrapped(cells[4] + " in the busiest hour", width, 2);
      PrintWrapped("from " + cells[5] + " to " + cells[6], width, 2);
    }
    Console::Print(Console::Styled(Style::Faint, SampleLine(rule, width)));
  }
}

}  // namespace

void PrintReplayText(const ReplayReport& report) {
  std::vector<Cells> table = {{"Rule", "Matches", "Share", "Mails", "Peak/h", "First", "Last"}};
  for (const ReplayReport::Rule& rule : report.rules) {
    table.push_back(CellsOf(rule, report));
    if (rule.matches == 0) table.back()[kColumns - 2] = "never matched";
  }
  const Layout layout(table);
  const bool onTerminal = os::IsTerminal(os::Stream::Output);
  const std::size_t columns = onTerminal ? static_cast<std::size_t>(os::Columns(os::Stream::Output)) : kWidth;
  const std::size_t width = std::clamp<std::size_t>(columns, 20, kWidth);
  PrintWrapped(Counted(report.records, "record", "records") + ", " + Counted(report.alerts, "alert", "alerts") + " by " +
                   std::to_string(RulesWithMatches(report)) + " of " + Counted(report.rules.size(), "rule", "rules") + ".",
               width, 0);
  if (!report.first.empty()) {
    PrintWrapped("From " + Console::Shown(report.first) + " to " + Console::Shown(report.last) + ".", width, 0);
  }
  for (const std::string& note : ReplayNotes(report)) PrintWrapped(note, width, 0);
  Console::Print("");
  if (columns < layout.Width()) {
    PrintStacked(report, table, width);
  } else {
    PrintTable(report, table, layout);
  }
}

}  // namespace ovs
