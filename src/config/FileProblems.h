// Reports a file that cannot be used once, not once per record: again only after it was usable in between, or when the
// reason changes. Shared by everything that reads files for every record.
#pragma once

#include <map>

#include "base/Text.h"

namespace ovs {

class FileProblems {
 public:
  // Writes one debug line "<what> [<path>]: <reason>" unless the same reason was the last one reported for this path.
  void Report(TextView what, TextView path, TextView reason);
  // The file was usable.
  void Clear(TextView path);

 private:
  // Bounds the memory against a folder whose files come and go under new names for months.
  static constexpr std::size_t kMaxRemembered = 4096;
  std::map<Text, Text, std::less<>> reasonByPath_;
};

}  // namespace ovs
