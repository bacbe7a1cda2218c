// Records and rules to measure with: recorded real records, synthetic ones, and rule sets that nearly match them.
#pragma once

#include <string>
#include <vector>

#include "events/EventRecord.h"

namespace ovs {

enum class WorkloadKind {
  Recorded,   // the recorded records of the six logs, in a random order, over and over
  Synthetic,  // all different
};

enum class RuleKind {
  Mixed,  // six in ten have an ID, half a text, a fifth an excluded text; most name one or two logs and the bad types
  Texts,  // every rule open to all records, with a text alone
};

inline constexpr std::size_t kRecords = 100'000;
inline constexpr double kShare = 0.001;  // of the records that match, unless a measurement says otherwise

// kRecords of a kind, made when they are asked for first.
[[nodiscard]] const std::vector<EventRecord>& Records(WorkloadKind kind);

// Always the same for the same arguments.
[[nodiscard]] std::vector<EventRecord> MakeRecords(WorkloadKind kind, std::size_t count);

// Contents of rule files. Of the records about `share` match one of them.
[[nodiscard]] std::vector<std::string> MakeRules(RuleKind kind, std::size_t count, const std::vector<EventRecord>& records,
                                                 double share);

}  // namespace ovs
