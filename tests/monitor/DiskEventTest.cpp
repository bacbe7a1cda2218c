#include "monitor/DiskEvent.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"

namespace ovs {
namespace {

TEST(IsDiskEvent, RecognisesTheThreeKinds) {
  struct {
    TextView source;
    TextView message;
    bool expected;
  } const cases[] = {
      {u"Disk", u"The device, \\Device\\Harddisk1\\DR1, has a bad block.", true},
      {u" disk ", u"an ERROR on \\device\\HARDDISK0", true},
      {u"DMIO", u"Harddisk3 corrupt", true},
      {u"chkdsk", u"harddisk: Corrupted", true},
      {u"Disk", u"An error on device \\Device\\Harddisk1 During A Paging Operation.", false},
      {u"Disk", u"An error was detected", false},
      {u"Disk", u"Harddisk0 is fine", false},
      {u"DiskMonitor", u"Harddisk0 error", false},
      {u"Microsoft-Windows-Ntfs", u"The structure on the disk is CORRUPT and unusable.", true},
      {u"Ntfs", u"The structure is fine", false},
      {u"fs", u"corrupt", false},
      {u"", u"this is a FAKE disk alert for testing", true},
      {u"Anything", u"Fake Disk  Alert", false},
      {u"", u"", false},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(IsDiskEvent(each.source, each.message), each.expected) << ToUtf8(each.message);
  }
}

}  // namespace
}  // namespace ovs
