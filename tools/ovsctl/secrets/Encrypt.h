// `ovsctl encrypt`: puts a secret among the program's own settings, encrypted.
#pragma once

#include <string>

namespace ovs {

struct EncryptOptions {
  std::string applicationFolder;  // as typed, as is the next
  std::string key;
  std::string file;  // empty: the one that has the key, else the default file
  bool any = false;  // also a key whose value is no secret
};

// kDone, or kFailed when key or secret cannot be used or the file cannot be changed.
int RunEncrypt(const EncryptOptions& options);

}  // namespace ovs
