#include "ovsctl/check/KnownNames.h"

#include <algorithm>

#include "base/Fold.h"
#include "monitor/Rule.h"

namespace ovs {

namespace {

using enum ValueKind;

constexpr KnownKey kEventDetail[] = {
    {u"EventDetail", u"EventID", EventNumber},
    {u"EventDetail", u"EventSource"},
    {u"EventDetail", u"EventDesc"},
    {u"EventDetail", u"EventDescEx"},
};

constexpr KnownKey kMainSettings[] = {
    {u"Monitoring", u"DiskEvents", Switch},
    {u"Monitoring", u"DiskEventsRuleName"},
    {u"Monitoring", u"EventEmails", Switch},
    {u"Config", u"DisplayEventLogTimesInUTC", Switch},
    {u"Config", u"DisplayEventLogDateYearFirst", Switch},
    {u"Config", u"DisplayEventLogTimeAs24Hour", Switch},
    {u"EmailConfig", u"AdminEmail", Addresses},
    {u"EmailConfig", u"AdminName"},
    {u"EmailConfig", u"SMTPServer"},
    {u"EmailConfig", u"SMTPPort", Number, 1, 65535},
    {u"EmailConfig", u"SMTPUserName"},
    {u"EmailConfig", u"SMTPPassword", Scrambled},
    {u"EmailConfig", u"UseSSL", Number, 0, 4},
    {u"EmailConfig", u"SMTPAuth", Number, 0, 5},
    {u"EmailConfig", u"AutoFix", Number, 0, 1},
    {u"EmailOptions", u"EmailAdminEvents", Switch},
    {u"Branding", u"SupportEmail", Addresses},
    {u"Branding", u"AppName"},
};

constexpr KnownKey kProgramSettings[] = {
    {{}, u"Debug.Log.Verbose", WideSwitch},
    {{}, u"Debug.Log.RealTime", WideSwitch},
    {{}, u"Debug.SystemOutput.Enable", WideSwitch},
    {{}, u"Debug.SystemOutput.Prefix"},
    {{}, u"Debug.EnvDump", WideSwitch},
    {{}, u"Debug.ProcDump", WideSwitch},
    {{}, u"Debug.ProcDump.IncompleteOnly", WideSwitch},
    {{}, u"Debug.ProcDump.IncludeProcTimers", WideSwitch},
    {{}, u"Debug.ProcDump.EventTypes", Number, -1, 63},
    {{}, u"Debug.PerfTimer.Enable", WideSwitch},
    {{}, u"Debug.Chilkat.Verbose", WideSwitch},
    {{}, u"Debug.Chilkat.WriteLogFiles", WideSwitch},
    {{}, u"Env.WANAddress"},
    {{}, u"Email.SMTP.CAFile", File},
    {{}, u"Email.SMTP.AllowUntrusted", Switch},
    {{}, u"Email.SMTP.ConnectTimeout", Number, 1, 3600},
    {{}, u"Email.SMTP.SendTimeout", Number, 1, 3600},
    {{}, u"Email.SMTP.SSLType", Number, 0, 4},
    {{}, u"Email.SMTP.Host"},
    {{}, u"Email.SMTP.Port", Number, 1, 65535},
    {{}, u"Email.SMTP.Username"},
    {{}, u"Email.SMTP.Password", Secret},
    {{}, u"Email.SMTP.AuthMethod", Number, 0, 5},
    {{}, u"Email.SMTP.AutoFix", Number, 0, 1},
    {{}, u"Email.From", Addresses},
    {{}, u"Email.ReplyTo", Addresses},
    {{}, u"Email.To", Addresses},
    {{}, u"Email.PromptForSubject", WideSwitch},
    {{}, u"Email.Chilkat.UnlockCode"},
};

std::vector<KnownKey> MakeRuleKeys() {
  std::vector<KnownKey> keys;
  for (const TextView log : kRuleLogNames) keys.push_back({u"LogFile", log, Switch});
  for (const TextView type : kRuleTypeNames) keys.push_back({u"EventType", type, Switch});
  keys.insert(keys.end(), std::begin(kEventDetail), std::end(kEventDetail));
  return keys;
}

}  // namespace

std::span<const KnownKey> RuleKeys() {
  static const std::vector<KnownKey> keys = MakeRuleKeys();
  return keys;
}

std::span<const KnownKey> MainSettingKeys() { return kMainSettings; }
std::span<const KnownKey> ProgramSettingKeys() { return kProgramSettings; }

const KnownKey* FindKey(std::span<const KnownKey> keys, TextView section, TextView key) {
  const auto found = std::ranges::find_if(
      keys, [&](const KnownKey& each) { return EqualsFolded(each.section, section) && EqualsFolded(each.key, key); });
  return found == keys.end() ? nullptr : &*found;
}

std::vector<TextView> SectionsOf(std::span<const KnownKey> keys) {
  std::vector<TextView> sections;
  for (const KnownKey& each : keys) {
    if (std::ranges::find(sections, each.section) == sections.end()) sections.push_back(each.section);
  }
  return sections;
}

std::vector<TextView> KeysOf(std::span<const KnownKey> keys, TextView section) {
  std::vector<TextView> names;
  for (const KnownKey& each : keys) {
    if (EqualsFolded(each.section, section)) names.push_back(each.key);
  }
  return names;
}

TextView SectionWith(std::span<const KnownKey> keys, TextView key) {
  TextView section;
  for (const KnownKey& each : keys) {
    if (!EqualsFolded(each.key, key)) continue;
    if (!section.empty()) return {};
    section = each.section;
  }
  return section;
}

}  // namespace ovs
