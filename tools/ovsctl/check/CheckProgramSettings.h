// The program's own settings: the .cfg files.
#pragma once

#include <string>
#include <unordered_map>

#include "base/Text.h"
#include "os/Files.h"
#include "ovsctl/check/CheckFindings.h"

namespace ovs {

class ProgramSettingsCheck {
 public:
  // Both must outlive this object.
  ProgramSettingsCheck(os::Files& files, Findings& findings) : files_(files), findings_(findings) {}

  // The text of a file; what is found belongs to the file that the findings are at. `shown` names it. In the order in which
  // the service reads them.
  void Check(TextView content, const std::string& shown);

 private:
  struct Place {
    std::string file;
    std::size_t line;
  };

  void TakeEntry(TextView key, TextView value, std::size_t line);
  void TakeOther(TextView text, std::size_t line);
  void CheckPlace(TextView key, std::size_t line);
  void TakeUnknown(TextView key, std::size_t line);
  void TakeValue(const SettingName& key, TextView value, std::size_t line);

  os::Files& files_;
  Findings& findings_;
  std::string shown_;
  std::unordered_map<Text, Place> places_;  // by folded key
};

}  // namespace ovs
