// `ovsctl check`: tells what is wrong with rules, lists and settings, and how to mend it.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "ovsctl/check/CheckFiles.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Json.h"

namespace ovs {

namespace {

struct CheckOptions {
  std::string applicationFolder;   // as typed
  std::vector<std::string> files;  // as typed; without any, all of the application folder
  bool json = false;
};

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
  Console::PrintJson(report);
}

// kDone when nothing is wrong, kFindings when something is, kFailed when nothing could be looked at.
int RunCheck(const CheckOptions& options) {
  const auto open = options.files.empty() ? Installation::OpenToRead : Installation::Open;
  const std::unique_ptr<Installation> installation = open(options.applicationFolder);
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

}  // namespace

void AddCheckCommand(Program& program) {
  const auto options = std::make_shared<CheckOptions>();
  CLI::App* const command =
      AddCommand(program,
                 {.name = "check",
                  .purpose = "Read rules, exclusion lists and settings as the service does, and say what is "
                             "wrong, where, and how to mend it. Without files: all of the application folder.",
                  .examples = "ovsctl check\n"
                              "ovsctl check --app C:\\Orvanta --json\n"
                              "ovsctl check \"C:\\Orvanta\\Config\\Rules\\Failed logon.DAT\""},
                 [options] { return RunCheck(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_flag("--json", options->json, "Print the findings as JSON");
  command->add_option("files", options->files, "Rule files (.DAT), exclusion lists, Orvanta.ini, .cfg files")
      ->type_name("FILE");
}

}  // namespace ovs
