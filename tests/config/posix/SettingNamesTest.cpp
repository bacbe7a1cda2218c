// The manual names every setting of the table that the program reads by, and no other.
#include "config/SettingNames.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "base/Encoding.h"

namespace ovs {
namespace {

// "key", or "section/key".
using Names = std::set<std::string>;

std::string NameOf(const std::string& section, const std::string& key) {
  return section.empty() ? key : section + "/" + key;
}

Names NamesOf(std::span<const SettingName> settings) {
  Names names;
  for (const SettingName& each : settings) names.insert(NameOf(ToUtf8(each.section), ToUtf8(each.key)));
  EXPECT_EQ(names.size(), settings.size()) << "one stands twice";
  return names;
}

// The texts between back quotes.
std::vector<std::string> Quoted(const std::string& cell) {
  std::vector<std::string> texts;
  std::size_t end = 0;
  for (std::size_t at = cell.find('`'); at != cell.npos && end != cell.npos; at = cell.find('`', end + 1)) {
    end = cell.find('`', at + 1);
    texts.push_back(cell.substr(at + 1, end - at - 1));
  }
  return texts;
}

struct Row {
  std::string section;  // of the last heading that quotes one in brackets
  std::vector<std::string> first;
  std::vector<std::string> second;
};

// The table rows of a page that begin with a quoted text.
std::vector<Row> RowsOf(const std::string& page) {
  std::ifstream file(std::string(OVS_DOCS) + "/" + page);
  EXPECT_TRUE(file) << page;
  std::vector<Row> rows;
  std::string section;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) {
      const std::vector<std::string> quoted = Quoted(line);
      const bool names = !quoted.empty() && quoted[0].starts_with('[');
      section = names ? quoted[0].substr(1, quoted[0].size() - 2) : "";
    }
    if (!line.starts_with("| `")) continue;
    std::istringstream cells(line.substr(1));
    std::string first;
    std::string second;
    std::getline(std::getline(cells, first, '|'), second, '|');
    rows.push_back({section, Quoted(first), Quoted(second)});
  }
  return rows;
}

TEST(SettingNames, TheManualTellsThemAll) {
  Names program;
  Names main;
  Names rule;
  const Names sections = {"Monitoring", "Config", "EmailConfig", "EmailOptions", "Branding"};
  for (const char* const page : {"settings.md", "mail.md"}) {
    for (const Row& row : RowsOf(page)) {
      if (sections.contains(row.first[0]) && !row.second.empty()) main.insert(NameOf(row.first[0], row.second[0]));
      for (const std::string& key : row.first) {
        if (key.starts_with("Debug.") || key.starts_with("Env.") || key.starts_with("Email.")) program.insert(key);
      }
    }
  }
  for (const Row& row : RowsOf("rules.md")) {
    if (!row.section.empty()) rule.insert(NameOf(row.section, row.first[0]));
  }
  EXPECT_EQ(program, NamesOf(ProgramSettings::kAll));
  EXPECT_EQ(main, NamesOf(MainSettings::kAll));
  EXPECT_EQ(rule, NamesOf(RuleSettings::kAll));
}

}  // namespace
}  // namespace ovs
