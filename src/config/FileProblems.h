// The files that cannot be used at present, and why. Each is reported once, not once per record: again only after it was
// usable in between, or when the reason changes. Shared by everything that reads files for every record.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "base/Text.h"

namespace ovs {

enum class FileKind { SettingsFile, RuleFile, ExclusionList, RulesFolder };

struct FileProblem {
  FileKind kind;
  Text path;
  Text reason;

  bool operator==(const FileProblem&) const = default;
  // The words of the debug log, such as "Cannot use rule file [<path>]: <reason>".
  [[nodiscard]] Text Sentence() const;
};

// One thread.
class FileProblems {
 public:
  // Writes the problem's sentence to the debug log unless the same reason was the last one reported for this path.
  void Report(FileKind kind, TextView path, TextView reason);
  // These two end what was reported, if anything was, and say so to the debug log: the file can be used again; it is gone.
  void Usable(TextView path);
  void Gone(TextView path);
  // In the order of their paths: those that were reported and have not ended since.
  [[nodiscard]] std::vector<FileProblem> Current() const;

 private:
  struct Known {
    FileKind kind;
    Text reason;
  };
  // Takes the path out; none when nothing was reported for it.
  [[nodiscard]] std::optional<Known> Take(TextView path);

  // Bounds the memory against a folder whose files come and go under new names for months.
  static constexpr std::size_t kMaxRemembered = 4096;
  std::map<Text, Known, std::less<>> byPath_;
};

}  // namespace ovs
