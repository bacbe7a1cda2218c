// Reading one rule file.
#pragma once

#include "config/App_Common.h"
#include "config/FileProblems.h"

namespace ovs {

// Replaces `out`. What is wrong with the file is reported once. Ok only when a record can match: a file without a section
// [LogFile] counts as unusable.
[[nodiscard]] IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out);

}  // namespace ovs
