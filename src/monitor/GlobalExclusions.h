// The three lists beside the rule files that suppress alerts for all rules at once.
//
// Each check is true when the record is excluded. Lines end in CR LF, empty lines are skipped, there are no comments and
// no wildcards. A list that cannot be read excludes nothing and is reported.
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
  // `rulesFolder` has no trailing "\". The file helpers and the reporter must outlive this object.
  GlobalExclusions(App_FileSystem& files, FileProblems& problems, TextView rulesFolder);

  // A file of this name, in any case, is one of the three.
  [[nodiscard]] static bool IsListName(TextView name);
  // Each list is read when it is needed for the first time after this call, and kept.
  void Forget();

  // A line equals the event code, trimmed and without regard to case.
  [[nodiscard]] bool CheckGlobalEventIDEx(TextView eventCode);
  // A line equals the source name, likewise.
  [[nodiscard]] bool CheckGlobalEventSourceEx(TextView sourceName);
  // A line, as it stands, occurs in the message without regard to case.
  [[nodiscard]] bool CheckGlobalEventDescEx(TextView message);

  // The three in their order; stops at the first that is true.
  [[nodiscard]] bool Excludes(TextView eventCode, TextView sourceName, TextView message);

 private:
  enum ListKind { kIds, kSources, kTexts, kListCount };

  // The lines of a list; none when it could not be read, which may pass.
  [[nodiscard]] std::optional<std::vector<Text>> ReadLines(ListKind kind);
  [[nodiscard]] bool AnyLineEquals(ListKind kind, TextView value);
  [[nodiscard]] bool AnyLineOccursIn(TextView message);

  App_FileSystem& files_;
  FileProblems& problems_;
  std::array<Text, kListCount> paths_;
  std::array<std::optional<std::unordered_set<Text>>, 2> equals_;  // folded and trimmed
  std::optional<TextSet> occurs_;
  TextSet::Scratch scratch_;
};

}  // namespace ovs
