#include "monitor/RuleFile.h"

namespace ovs {

IniLoad LoadRuleFile(App_Common& ini, FileProblems& problems, TextView path, PlainIni& out) {
  constexpr TextView kWhat = u"Cannot use rule file";
  out = {};
  const IniLoad outcome = ini.LoadIni(path, out);
  if (outcome == IniLoad::Missing) problems.Report(kWhat, path, u"it disappeared before it could be read");
  if (outcome != IniLoad::Ok) return outcome;
  if (!out.HasSection(u"LogFile")) {
    problems.Report(kWhat, path, u"it has no section [LogFile], so it can never match");
    return IniLoad::Unusable;
  }
  problems.Clear(path);
  return IniLoad::Ok;
}

}  // namespace ovs
