// ovsctl test-mail: one mail on the way of the alerts, told step by step.
#pragma once

#include <string>

namespace ovs {

struct TestMailOptions {
  std::string applicationFolder;
  std::string to;  // empty: the technician of the settings
  bool session = false;
  bool json = false;
};

// kDone when the server took the mail for every recipient, kFindings when it did not, kFailed when nothing could be tried.
int RunTestMail(const TestMailOptions& options);

}  // namespace ovs
