#include "monitor/DiskEvent.h"

#include <algorithm>
#include <initializer_list>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

bool ContainsAny(TextView text, std::initializer_list<TextView> parts) {
  return std::ranges::any_of(parts, [&](TextView part) { return ContainsFolded(text, part); });
}

bool IsDriverReport(TextView sourceName, TextView message) {
  const bool isDiskSource = App_Strings::StringsMatch(sourceName, u"Disk") ||
                            App_Strings::StringsMatch(sourceName, u"DMIO") ||
                            App_Strings::StringsMatch(sourceName, u"Chkdsk");
  // Errors while paging come with every unplugged drive; they would drown the real ones.
  return isDiskSource && ContainsFolded(message, u"Harddisk") &&
         ContainsAny(message, {u"Error", u"Corrupt", u"bad block"}) &&
         !ContainsFolded(message, u"during a paging operation");
}

bool IsFileSystemCorruption(TextView sourceName, TextView message) {
  return ContainsFolded(sourceName, u"NTFS") && ContainsFolded(message, u"Corrupt");
}

}  // namespace

bool IsDiskEvent(TextView sourceName, TextView message) {
  return IsDriverReport(sourceName, message) || IsFileSystemCorruption(sourceName, message) ||
         ContainsFolded(message, u"Fake Disk Alert");
}

}  // namespace ovs
