// ovs_workload FOLDER: writes what is measured, for programs that are measured beside: lines.txt, one record a line, and for
// 10, 100 and 1000 rules text-N.txt, the texts of rules that have nothing else, and the rule files
// mixed-N/Config/Rules/*.DAT.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "Workload.h"
#include "base/Encoding.h"
#include "config/PlainIni.h"

namespace {

using namespace ovs;

std::string OneLine(TextView text) {
  std::string line = ToUtf8(text);
  std::ranges::replace_if(
      line, [](char byte) { return byte >= 0 && byte < ' '; }, ' ');
  return line;
}

void Dump(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  const std::vector<EventRecord>& records = Records(WorkloadKind::Recorded);
  std::ofstream lines(folder / "lines.txt");
  for (const EventRecord& record : records) lines << OneLine(record.message) << '\n';
  for (const std::size_t count : {10u, 100u, 1000u}) {
    std::ofstream texts(folder / ("text-" + std::to_string(count) + ".txt"));
    for (const std::string& rule : MakeRules(RuleKind::Texts, count, records, kShare)) {
      texts << ToUtf8(PlainIni(FromUtf8(rule)).RawValue(RuleSettings::kEventDesc).value_or(TextView())) << '\n';
    }
    const std::filesystem::path rules = folder / ("mixed-" + std::to_string(count)) / "Config" / "Rules";
    std::filesystem::create_directories(rules);
    int number = 0;
    for (const std::string& rule : MakeRules(RuleKind::Mixed, count, records, kShare)) {
      std::ofstream(rules / ("Rule " + std::to_string(number++) + ".DAT"), std::ios::binary) << rule;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: ovs_workload FOLDER\n");
    return 2;
  }
  Dump(argv[1]);
  return 0;
}
