// The three lists beside the rule files that suppress alerts for all rules at once.
//
// Each check is true when the record is excluded. Lines end in CR LF, empty lines are skipped, there are no comments and
// no wildcards. A list that the system refuses to read is reported and goes on excluding by the lines that were read last;
// one that was never read excludes nothing.
#pragma once

#include <array>
#include <optional>
#include <unordered_set>
#include <vector>

#include "base/Text.h"
#include "base/TextSet.h"
#include "config/FileProblems.h"
#include "platform/App_FileSystem.h"

namespace ovs {

class GlobalExclusions {
 public:
  enum List { kIds, kSources, kTexts, kListCount };

  // `rulesFolder` has no trailing "\". The file helpers and the reporter must outlive this object.
  GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder);

  // A file of this name, in any case, is one of the three.
  [[nodiscard]] static bool IsListName(TextView name);
  // Each list is read when it is needed for the first time after this call, and kept; one that is refused is tried each
  // time.
  void LookAgain() { isRead_ = {}; }

  // A line equals the event code, trimmed and without regard to case.
  [[nodiscard]] bool CheckGlobalEventIDEx(TextView eventCode);
  // A line equals the source name, likewise.
  [[nodiscard]] bool CheckGlobalEventSourceEx(TextView sourceName);
  // A line, as it stands, occurs in the message without regard to case.
  [[nodiscard]] bool CheckGlobalEventDescEx(TextView message);

  // The three in their order; the first that is true.
  [[nodiscard]] std::optional<List> ExcludedBy(TextView eventCode, TextView sourceName, TextView message);
  [[nodiscard]] static TextView FileName(List list);

  // The lines of a list as it is on disk, empty ones too, so that their places count; none when it could not be read,
  // which may pass.
  [[nodiscard]] std::optional<std::vector<Text>> Lines(List list);

  struct Line {
    std::size_t number = 0;  // 1 is the first
    Text text;
  };
  // The first line of that list, as it is on disk, by which the value (an event code, a source name, a message) is excluded.
  [[nodiscard]] std::optional<Line> LineThatExcludes(List list, TextView value);

 private:
  // The lines that count; none when what is known of the list is to go on serving.
  [[nodiscard]] std::optional<std::vector<Text>> ReadWhenDue(List list);
  [[nodiscard]] bool AnyLineEquals(List list, TextView value);
  [[nodiscard]] bool AnyLineOccursIn(TextView message);

  App_FileSystem& files_;
  FileProblems& problems_;
  std::array<Text, kListCount> paths_;
  std::array<bool, kListCount> isRead_{};
  std::array<std::unordered_set<Text>, 2> equals_;  // folded and trimmed
  TextSet occurs_;
  TextSet::Scratch scratch_;
};

}  // namespace ovs
