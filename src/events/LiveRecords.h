// Port: the records that are in this machine's own event logs.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Text.h"
#include "events/files/Records.h"

namespace ovs {

// The records to read.
struct LiveQuery {
  std::optional<Text> log;            // only this log, such as "System"; none: every log the service hears of
  std::optional<std::int64_t> since;  // only records of the last so many seconds
  std::optional<std::uint64_t> most;  // only the newest so many
};

// Seconds in "45s", "90m", "12h", "30d" or "4w": a whole number above 0 and one letter. None for anything else and for more
// than a hundred years.
[[nodiscard]] std::optional<std::int64_t> DurationSeconds(std::string_view text);

}  // namespace ovs

namespace ovs::os {

// Hands the records on, oldest first, and gives how many there were; what is worth knowing besides goes to sink.onNote,
// onBad and onProgress are never called. Throws RuntimeError: kFileError, in plain words, when the records cannot be put
// down for sorting; else what the system answered, or that it has no event logs.
std::uint64_t ReadLiveRecords(const LiveQuery& query, const RecordSink& sink);

}  // namespace ovs::os
