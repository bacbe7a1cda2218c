#include "monitor/RuleFile.h"

namespace ovs {

IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out) {
  out = {};
  const IniLoad outcome = ini.LoadIni(path, out);
  if (outcome == IniLoad::Missing) problems.Report(FileKind::RuleFile, path, u"it disappeared before it could be read");
  if (outcome != IniLoad::Ok) return outcome;
  if (!out.HasSection(u"LogFile")) {
    problems.Report(FileKind::RuleFile, path, u"it has no section [LogFile], so it can never match");
    return IniLoad::Unusable;
  }
  problems.Clear(path);
  return IniLoad::Ok;
}

}  // namespace ovs
