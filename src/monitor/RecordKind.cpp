#include "monitor/RecordKind.h"

#include <algorithm>
#include <initializer_list>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

constexpr TextView kDrivers[] = {u"Disk", u"DMIO", u"Chkdsk"};

bool IsOwnCrash(const EventRecord& record) {
  return App_Strings::StringsMatch(record.sourceName, u"service control manager") &&
         ContainsFolded(record.message, Phrases::kOwnCrash);
}

bool ContainsAny(TextView text, std::initializer_list<TextView> parts) {
  return std::ranges::any_of(parts, [&](TextView part) { return ContainsFolded(text, part); });
}

bool IsDriver(TextView sourceName) {
  return std::ranges::any_of(kDrivers, [&](TextView name) { return App_Strings::StringsMatch(sourceName, name); });
}

bool IsFileSystem(TextView sourceName) { return ContainsFolded(sourceName, u"NTFS"); }

DiskFinding CheckDriverReport(TextView message) {
  if (!ContainsFolded(message, u"Harddisk")) return DiskFinding::NoDeviceName;
  if (!ContainsAny(message, {u"Error", u"Corrupt", u"bad block"})) return DiskFinding::NoErrorWord;
  // Errors while paging come with every unplugged drive; they would drown the real ones.
  return ContainsFolded(message, u"during a paging operation") ? DiskFinding::WhilePaging : DiskFinding::DriverReport;
}

DiskFinding CheckBySource(TextView sourceName, TextView message) {
  if (IsDriver(sourceName)) return CheckDriverReport(message);
  if (!IsFileSystem(sourceName)) return DiskFinding::NoDiskSource;
  return ContainsFolded(message, u"Corrupt") ? DiskFinding::Corruption : DiskFinding::NoCorruption;
}

}  // namespace

RecordKind KindOf(const EventRecord& record, const RecordHints& hints, const std::function<bool()>& isDiskEvent) {
  if (hints.mayBeStopPhrase && ContainsFolded(record.message, Phrases::kStop)) return RecordKind::StopPhrase;
  if (hints.mayBeOwnCrash && IsOwnCrash(record)) return RecordKind::OwnCrash;
  if (hints.mayBeDiskEvent && isDiskEvent()) return RecordKind::DiskEvent;
  return RecordKind::Ordinary;
}

DiskFinding CheckForDiskEvent(TextView sourceName, TextView message) {
  const DiskFinding finding = CheckBySource(sourceName, message);
  if (IsDiskEvent(finding) || !ContainsFolded(message, Phrases::kFakeDisk)) return finding;
  return DiskFinding::TestPhrase;
}

bool IsDiskSource(TextView sourceName) { return IsDriver(sourceName) || IsFileSystem(sourceName); }

}  // namespace ovs
