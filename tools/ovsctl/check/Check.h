// `ovsctl check`: what is wrong with rules, lists and settings, and how to mend it.
#pragma once

#include <string>
#include <vector>

namespace ovs {

struct CheckOptions {
  std::string applicationFolder;   // as typed
  std::vector<std::string> files;  // as typed; without any, all of the application folder
  bool json = false;
};

// kDone when nothing is wrong, kFindings when something is, kFailed when nothing could be looked at.
int RunCheck(const CheckOptions& options);

}  // namespace ovs
