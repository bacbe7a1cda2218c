#include "monitor/AlertText.h"

#include <gtest/gtest.h>

namespace ovs {
namespace {

const EventRecord kRecord = {2, u"Warning", u"51", u"disk", u"line one\r\nline two", u"System", u"x"};

TEST(AlertText, RuleAlertAndItsLogEntry) {
  EXPECT_EQ(AlertText::RuleAlert(u"T", u"Low Disk", kRecord),
            u"Time: T\r\nRule: Low Disk\r\nEvent Log: System\r\nEvent Type: Warning (2)\r\nEvent ID: 51\r\n"
            u"Source Name: disk\r\nMessage: line one\r\nline two\r\n");
  EXPECT_EQ(AlertText::RuleLogEntry(u"T", u"Low Disk", kRecord),
            u"T\r\nRule: Low Disk\r\nEvent ID: 51 / Event Type: Warning (2) / Source Name: disk / Event Log: System\r\n"
            u"Message: line one\r\nline two\r\n");
}

TEST(AlertText, DiskFormsLackNumberAndLog) {
  EventRecord record = kRecord;
  record.message = Text(u"a\0b", 3);
  EXPECT_EQ(AlertText::DiskAlert(u"T", u"D", record),
            Text(u"Time: T\r\nRule: D\r\nEvent Log: System\r\nEvent Type: Warning\r\nEvent ID: 51\r\n"
                 u"Source Name: disk\r\nMessage: ") +
                record.message + u"\r\n");
  EXPECT_EQ(AlertText::DiskLogEntry(u"T", u"D", record),
            u"T\r\nRule: D\r\nEvent ID: 51 / Event Type: Warning / Source Name: disk\r\nMessage: ab\r\n");
}

TEST(AlertText, EmptyRecordKeepsTheLayout) {
  EXPECT_EQ(AlertText::RuleLogEntry(u"", u"", {}),
            u"\r\nRule: \r\nEvent ID:  / Event Type:  (0) / Source Name:  / Event Log: \r\nMessage: \r\n");
  EXPECT_EQ(AlertText::RuleNameLine(u"03/07/2024 01:05:09 PM", u"Low Disk"), u"03/07/2024 01:05:09 PM  -  Low Disk\r\n");
}

}  // namespace
}  // namespace ovs
