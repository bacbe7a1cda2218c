// The three lists beside the rule files that suppress alerts for all rules at once.
//
// Each check is true when the record is excluded. Lines end in CR LF, empty lines are skipped, there are no comments and
// no wildcards. The files are read anew on every call. A list that cannot be read excludes nothing and is reported.
#pragma once

#include "base/Text.h"
#include "config/FileProblems.h"
#include "platform/App_FileSystem.h"

namespace ovs {

class GlobalExclusions {
 public:
  // `rulesFolder` has no trailing "\". The file helpers and the reporter must outlive this object.
  GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder);

  // A line equals the event code, trimmed and without regard to case.
  [[nodiscard]] bool CheckGlobalEventIDEx(TextView eventCode);
  // A line equals the source name, likewise.
  [[nodiscard]] bool CheckGlobalEventSourceEx(TextView sourceName);
  // A line, as it stands, occurs in the message without regard to case.
  [[nodiscard]] bool CheckGlobalEventDescEx(TextView message);

  // The three in their order; stops at the first that is true.
  [[nodiscard]] bool Excludes(TextView eventCode, TextView sourceName, TextView message);

 private:
  using LineTest = bool (*)(TextView line, TextView value);
  bool AnyLine(const Text& path, TextView value, LineTest test);

  App_FileSystem& files_;
  FileProblems& problems_;
  Text idList_;
  Text sourceList_;
  Text descList_;
};

}  // namespace ovs
