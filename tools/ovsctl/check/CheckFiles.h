// Looks at files one by one, each by its kind, and at last at the rules together.
#pragma once

#include <memory>
#include <vector>

#include "config/FileProblems.h"
#include "ovsctl/check/CheckFindings.h"
#include "ovsctl/check/FileChecks.h"
#include "ovsctl/cli/Installation.h"

namespace ovs {

class FilesCheck {
 public:
  // Both must outlive this object.
  FilesCheck(Installation& installation, Findings& findings);

  // All that the service reads in its application folder, and what lies beside it and is nearly read.
  void CheckAll();
  // One file, by its name and, if that tells nothing, its content.
  void CheckOne(TextView path);
  // To be called once, behind the others.
  void CheckTogether();

 private:
  void CheckRuleFile(TextView path);
  void CheckMainSettings(TextView path);
  void CheckProgramSettings(TextView path);
  void CheckListFile(TextView path);
  void CheckUnknown(TextView path);
  void CheckRulesFolder();
  void CheckStray(TextView path);
  void CheckConfigFolder();

  // True when the file is among those that the service cannot use, which is then a finding.
  bool TellProblem(const std::vector<FileProblem>& problems, TextView path);
  [[nodiscard]] Text ShownPath(TextView path) const;
  [[nodiscard]] bool LooksLikeRule(TextView path);
  // The lists that lie beside the rules.
  GlobalExclusions& ListsOf(TextView folder);

  Installation& installation_;
  os::Files& files_;
  Findings& findings_;
  FileProblems problems_;
  ProgramSettingsCheck programSettings_;
  std::vector<CheckedRule> rules_;
  std::vector<Text> folders_;  // of each rule
  std::vector<std::pair<Text, std::unique_ptr<GlobalExclusions>>> lists_;
};

}  // namespace ovs
