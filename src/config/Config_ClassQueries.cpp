// Queries over many entries, and what is kept of windows.
#include <array>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "config/Config_Class.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Class";

bool IsOf(const Config_KVP& entry, TextView defFile) {
  return defFile.empty() || App_Strings::StringsMatch(entry.DefFile(), defFile);
}

Text KeyOf(const Config_KVP& entry) { return entry.Key(); }
Text PlainValueOf(const Config_KVP& entry) { return entry.ValueData(); }
Text StoredValueOf(const Config_KVP& entry) { return entry.ValueData_Save_State(); }

bool NamesSameFile(TextView a, TextView b) {
  return App_Strings::StringsMatch(App_FilePath::FileNameOf(a), App_FilePath::FileNameOf(b));
}

}  // namespace

bool Config_Class::ExistsIn(TextView key, TextView defFile) const {
  const Config_KVP* const entry = Item(key);
  if (entry == nullptr || entry->ValueData_Save_State().empty()) return false;
  return defFile.empty() || NamesSameFile(entry->DefFile(), defFile);
}

bool Config_Class::SettingExist(TextView sKey, TextView sDefFile) const {
  Proc proc(kModule, u"SettingExist", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  proc.ByVal(u"sDefFile", sDefFile);
  return proc.Run(false, [&] { return ExistsIn(sKey, sDefFile); });
}

bool Config_Class::CfgSettingExists(TextView sKey, TextView sDefFile) const {
  Proc proc(kModule, u"CfgSettingExists", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  proc.ByVal(u"sDefFile", sDefFile);
  return proc.Run(false, [&] { return ExistsIn(sKey, sDefFile); });
}

// Of the two texts of an entry, one is searched and one is shown.
Text Config_Class::MatchingLines(const Query& query, EntryText searched, EntryText shown) const {
  Proc proc(kModule, query.procedure, ProcKind::Function);
  proc.ByVal(query.partialName, query.partial);
  proc.ByVal(u"sMustMatchThisDefFile", query.defFile);
  proc.ByVal(u"bExcludeKeyFromValue", query.excludeKey);
  return proc.Run(Text(), [&] {
    Text lines;
    for (const Config_KVP& entry : entries_) {
      if (!IsOf(entry, query.defFile) || !ContainsFolded(searched(entry), query.partial)) continue;
      if (!query.excludeKey) lines.append(entry.Key()).append(u"=");
      lines.append(shown(entry)).append(kCrLf);
    }
    return lines;
  });
}

Text Config_Class::GetAllMatchingStrings(TextView sPartialKey, TextView sMustMatchThisDefFile,
                                         bool bExcludeKeyFromValue) const {
  return MatchingLines({u"GetAllMatchingStrings", u"sPartialKey", sPartialKey, sMustMatchThisDefFile, bExcludeKeyFromValue},
                       KeyOf, PlainValueOf);
}

Text Config_Class::GetAllMatchingStrings_AsIs(TextView sPartialKey, TextView sMustMatchThisDefFile,
                                              bool bExcludeKeyFromValue) const {
  return MatchingLines(
      {u"GetAllMatchingStrings_AsIs", u"sPartialKey", sPartialKey, sMustMatchThisDefFile, bExcludeKeyFromValue}, KeyOf,
      StoredValueOf);
}

Text Config_Class::GetAllMatchingValues(TextView sPartialValue, TextView sMustMatchThisDefFile,
                                        bool bExcludeKeyFromValue) const {
  return MatchingLines(
      {u"GetAllMatchingValues", u"sPartialValue", sPartialValue, sMustMatchThisDefFile, bExcludeKeyFromValue}, PlainValueOf,
      PlainValueOf);
}

std::int32_t Config_Class::GetMatchingStringCount(TextView sPartialKey, TextView sMustMatchThisDefFile) const {
  Proc proc(kModule, u"GetMatchingStringCount", ProcKind::Function);
  std::int32_t lCount = 0;
  proc.ByVal(u"sPartialKey", sPartialKey);
  proc.ByVal(u"sMustMatchThisDefFile", sMustMatchThisDefFile);
  proc.Created(u"lCount", lCount);
  return proc.Run(0, [&] {
    for (const Config_KVP& entry : entries_) {
      if (IsOf(entry, sMustMatchThisDefFile) && ContainsFolded(entry.Key(), sPartialKey)) ++lCount;
    }
    return lCount;
  });
}

Text Config_Class::GetMetricSettingName(TextView sWindowName, std::int32_t lItem) {
  constexpr std::array<TextView, 6> kItems = {u"Auto_LoadSave", u"Top", u"Invisible", u"", u"Position", u"Minimized"};
  const bool known = lItem >= 0 && static_cast<std::size_t>(lItem) < kItems.size();
  return Text(u"Window_Metrics_")
      .append(sWindowName)
      .append(u".")
      .append(known ? kItems[static_cast<std::size_t>(lItem)] : TextView());
}

}  // namespace ovs
