// Values and texts in files of the service: whether they mean what somebody may have meant by them.
#pragma once

#include "os/Files.h"
#include "ovsctl/check/CheckFindings.h"

namespace ovs {

// A value as the service reads it, at its place.
struct ReadValue {
  const SettingName& key;
  TextView value;
  std::size_t line;
};

// Judges the value by the kind of its key. An empty one asks for nothing and is always right.
void CheckValue(os::Files& files, const ReadValue& read, Findings& findings);

// An event ID in a rule or list; `name` says whose it is. Empty ones are right.
void CheckEventNumber(TextView value, std::size_t line, const std::string& name, Findings& findings);
// Characters that were damaged on the way into the file.
void CheckEncoding(TextView text, std::size_t line, Findings& findings);
// "*" or "?" at the ends.
[[nodiscard]] bool HasWildcardEnds(TextView text);
[[nodiscard]] bool LooksLikeRemark(TextView line);

}  // namespace ovs
