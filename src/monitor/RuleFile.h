// Reading one rule file.
#pragma once

#include "config/App_Common.h"
#include "config/FileProblems.h"
#include "monitor/Rule.h"

namespace ovs {

// Replaces `out`. What is wrong with the file is reported once. Ok only when a record can match: a file without a section
// [LogFile] counts as unusable.
[[nodiscard]] IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out);

// One rule file, read once: all its keys are of one moment. What it is made of must outlive it.
class RuleFileReader final : public RuleReader {
 public:
  RuleFileReader(App_Common& common, TextView path, const PlainIni& content)
      : common_(common), path_(path), content_(content) {}
  Text Read(TextView section, TextView key) override { return common_.ReadINI(content_, path_, section, key); }

 private:
  App_Common& common_;
  TextView path_;
  const PlainIni& content_;
};

}  // namespace ovs
