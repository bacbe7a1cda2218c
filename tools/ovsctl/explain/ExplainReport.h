// An explanation as text for people and as JSON for programs.
#pragma once

#include <cstdint>
#include <string>

#include "ovsctl/explain/Explanation.h"

namespace ovs {

struct ExplainedRecord {
  std::uint64_t number = 0;  // 1 is the first that was read
  const EventRecord& record;
  Text timeText;  // as the service shows it
  const Explanation& explanation;
};

// Several lines, without the last line end.
[[nodiscard]] std::string ExplanationText(const ExplainedRecord& explained);
// One line.
[[nodiscard]] std::string ExplanationJson(const ExplainedRecord& explained);

}  // namespace ovs
