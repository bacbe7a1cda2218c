// `ovsctl set-password`: puts the password of the mail account into the main settings file.
#pragma once

#include <string>

namespace ovs {

struct SetPasswordOptions {
  std::string applicationFolder;  // as typed
  bool print = false;             // print the form that belongs into the file instead
};

// kDone, or kFailed when there is no usable password or the file cannot be changed.
int RunSetPassword(const SetPasswordOptions& options);

}  // namespace ovs
