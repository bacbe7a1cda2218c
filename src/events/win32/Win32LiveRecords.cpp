#include <windows.h>

#include <memory>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "events/LiveRecords.h"
#include "events/files/RecordSpool.h"
#include "events/win32/WmiEventSource.h"
#include "os/Clock.h"
#include "os/System.h"
#include "os/win32/Automation.h"

namespace ovs::os {

namespace {

using win32::AutomationObject;

bool IsAdministrator() {
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID group = nullptr;
  if (AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0,
                               &group) == 0)
    return false;
  const std::unique_ptr<void, decltype(&FreeSid)> owner(group, &FreeSid);
  BOOL isMember = FALSE;
  return CheckTokenMembership(nullptr, group, &isMember) != 0 && isMember != FALSE;
}

Text Escaped(TextView text) {
  Text out;
  for (const char16_t unit : text) {
    if (unit == u'\\' || unit == u'\'') out += u'\\';
    out += unit;
  }
  return out;
}

Text WmiTimeBefore(std::int64_t seconds) {
  const DateTime time = DateTimeFromTicks(SystemClock().UtcNow() - seconds * kTicksPerSecond);
  Text text = PaddedNumberText(time.year, 4);
  for (const int part : {time.month, time.day, time.hour, time.minute, time.second}) text += PaddedNumberText(part, 2);
  return text + u".000000-000";
}

Text QueryText(const LiveQuery& query) {
  Text text = u"SELECT * FROM Win32_NTLogEvent";
  if (query.log) text += u" WHERE Logfile = '" + Escaped(*query.log) + u"'";
  if (query.since)
    text += (query.log ? u" AND TimeGenerated >= '" : u" WHERE TimeGenerated >= '") + WmiTimeBefore(*query.since) + u"'";
  return text;
}

// Within a log the newest record comes first, so that the newest so many of one log are the first ones.
void Collect(const LiveQuery& query, RecordSpool& spool, bool& anySecurity) {
  constexpr std::int64_t kForwardOnlyAndAtOnce = 0x20 + 0x10;
  const win32::ComApartment apartment;
  const AutomationObject services = AutomationObject::FromMoniker(win32::kWmiMoniker);
  const AutomationObject records =
      win32::ObjectOf(services.Call(u"ExecQuery", {QueryText(query), Text(u"WQL"), kForwardOnlyAndAtOnce}), u"ExecQuery");
  records.ForEach([&](const AutomationObject& object) {
    const EventRecord record = ToEventRecord(win32::WmiRecord(object));
    anySecurity = anySecurity || App_Strings::StringsMatch(record.logfile, u"Security");
    spool.Add(record);
    return !query.log || !query.most || spool.Count() < *query.most;
  });
}

}  // namespace

std::uint64_t ReadLiveRecords(const LiveQuery& query, const RecordSink& sink) {
  Text folder;
  if (SystemFiles().TempFolder(folder).Failed()) folder.clear();
  RecordSpool spool(SystemFiles(), folder + u"ovsctl-" + NumberText(ThisSystem().ProcessId()) + u".tmp");
  bool anySecurity = false;
  Collect(query, spool, anySecurity);
  const bool asksForSecurity = !query.log || App_Strings::StringsMatch(*query.log, u"Security");
  if (asksForSecurity && !anySecurity && sink.onNote && !IsAdministrator())
    sink.onNote("no record of the log Security was given; only administrators may read it");
  std::uint64_t count = 0;
  spool.Replay(query.most, [&](const RawRecord& record) {
    ++count;
    sink.onRecord(record);
    return !sink.isEnough || !sink.isEnough();
  });
  return count;
}

}  // namespace ovs::os
