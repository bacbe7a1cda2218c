#include "monitor/DiskEvent.h"

#include <algorithm>
#include <initializer_list>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "monitor/Phrases.h"

namespace ovs {

namespace {

constexpr TextView kDrivers[] = {u"Disk", u"DMIO", u"Chkdsk"};

bool ContainsAny(TextView text, std::initializer_list<TextView> parts) {
  return std::ranges::any_of(parts, [&](TextView part) { return ContainsFolded(text, part); });
}

bool IsDriver(TextView sourceName) {
  return std::ranges::any_of(kDrivers, [&](TextView name) { return App_Strings::StringsMatch(sourceName, name); });
}

bool IsFileSystem(TextView sourceName) { return ContainsFolded(sourceName, u"NTFS"); }

bool IsDriverReport(TextView sourceName, TextView message) {
  // Errors while paging come with every unplugged drive; they would drown the real ones.
  return IsDriver(sourceName) && ContainsFolded(message, u"Harddisk") &&
         ContainsAny(message, {u"Error", u"Corrupt", u"bad block"}) &&
         !ContainsFolded(message, u"during a paging operation");
}

bool IsFileSystemCorruption(TextView sourceName, TextView message) {
  return IsFileSystem(sourceName) && ContainsFolded(message, u"Corrupt");
}

}  // namespace

bool IsDiskSource(TextView sourceName) { return IsDriver(sourceName) || IsFileSystem(sourceName); }

bool IsDiskEvent(TextView sourceName, TextView message) {
  return IsDriverReport(sourceName, message) || IsFileSystemCorruption(sourceName, message) ||
         ContainsFolded(message, Phrases::kFakeDisk);
}

}  // namespace ovs
