#include "ovsctl/check/Check.h"

#include <nlohmann/json.hpp>

#include "ovsctl/check/CheckFiles.h"
#include "ovsctl/cli/Command.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

namespace {

using Console::Style;

std::string Counted(std::size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

const char* NameOf(Severity severity) { return severity == Severity::Error ? "error" : "warning"; }

void PrintLines(const Findings& findings) {
  for (const Finding& each : findings.Sorted()) {
    const std::string place = findings.NameOf(each.file) + (each.line == 0 ? "" : ":" + std::to_string(each.line));
    const Style style = each.severity == Severity::Error ? Style::Bad : Style::Bold;
    Console::Print(place + ": " + Console::Styled(style, NameOf(each.severity)) + ": " + each.what);
    Console::Print("    " + each.mend);
  }
}

void PrintJson(const Findings& findings) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const Finding& each : findings.Sorted()) {
    nlohmann::ordered_json one = {{"file", findings.NameOf(each.file)},
                                  {"line", each.line},
                                  {"severity", NameOf(each.severity)},
                                  {"what", each.what},
                                  {"mend", each.mend}};
    if (each.line == 0) one["line"] = nullptr;
    all.push_back(std::move(one));
  }
  const nlohmann::ordered_json report = {{"files", findings.FileCount()},
                                         {"errors", findings.Count(Severity::Error)},
                                         {"warnings", findings.Count(Severity::Warning)},
                                         {"findings", std::move(all)}};
  Console::Print(report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace

int RunCheck(const CheckOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::Open(options.applicationFolder);
  if (!installation) return kFailed;
  Findings findings;
  FilesCheck check(*installation, findings);
  for (const std::string& typed : options.files) {
    const std::optional<Text> path = TypedPath(typed);
    if (!path) return kFailed;
    check.CheckOne(*path);
  }
  if (options.files.empty()) check.CheckAll();
  check.CheckTogether();

  options.json ? PrintJson(findings) : PrintLines(findings);
  const std::size_t errors = findings.Count(Severity::Error);
  const std::size_t warnings = findings.Count(Severity::Warning);
  const bool clean = errors + warnings == 0;
  Console::Say(Counted(findings.FileCount(), "file") + " checked: " +
               (clean ? "nothing is wrong" : Counted(errors, "error") + ", " + Counted(warnings, "warning")) + ".");
  return clean ? kDone : kFindings;
}

}  // namespace ovs
