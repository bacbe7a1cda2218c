// ovsctl test-alert: the whole way of an alert, from an event record to the logs and the mail server's answer.
#pragma once

#include <string>

namespace ovs::win32 {

struct TestAlertOptions {
  std::string applicationFolder;  // empty: that of the installed service
  unsigned waitSeconds = 120;
  std::string feed;  // a feed file that gets the record as well; empty for none
};

// kDone when the alert is in the log and every mail it should have caused was accepted, kFindings when one of them is
// missing or cannot be known, kFailed when nothing could be tried.
int RunTestAlert(const TestAlertOptions& options);

}  // namespace ovs::win32
