#include "monitor/Alert.h"

#include <gtest/gtest.h>

namespace ovs {
namespace {

TEST(AlertText, DiskFormsLackNumberAndLogAndEmptyRecordsKeepTheLayout) {
  const Text message(u"a\0b", 3);
  const Alert disk{AlertKind::Disk, u"D", {2, u"Warning", u"51", u"disk", message, u"System", u"x"}, u"T"};
  EXPECT_EQ(AlertText::MailBody(disk),
            Text(u"Time: T\r\nRule: D\r\nEvent Log: System\r\nEvent Type: Warning\r\nEvent ID: 51\r\n"
                 u"Source Name: disk\r\nMessage: ") +
                message + u"\r\n");
  EXPECT_EQ(AlertText::LogEntry(disk),
            u"T\r\nRule: D\r\nEvent ID: 51 / Event Type: Warning / Source Name: disk\r\nMessage: ab\r\n");
  EXPECT_EQ(AlertText::LogEntry({}),
            u"\r\nRule: \r\nEvent ID:  / Event Type:  (0) / Source Name:  / Event Log: \r\nMessage: \r\n");
}

}  // namespace
}  // namespace ovs
