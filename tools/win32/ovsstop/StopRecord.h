// The event-log record that wakes the service's blocked loop and carries the stop phrase.
#pragma once

#include <cstdint>
#include <string>

namespace ovs::stopsvc {

inline constexpr wchar_t kSource[] = L"OrvantaEventService";
inline constexpr wchar_t kRecordText[] = L"ovsstop was asked to stop the service: orvanta - stopping event service...";

// Results are system error numbers, 0 for success.

// Makes sure that the event source exists, with the service program (the file OrvantaEventService.exe in this program's
// folder) as its message file: without one the record would reach the service with no message. Values that exist are
// left alone; `changed` tells whether any was written.
std::uint32_t EnsureSource(bool& changed);

// Writes the record to the Application log: event ID 1, information, the text as its one insertion string.
std::uint32_t WriteRecord();

// Appends the same record to a feed file of recorded event records, one JSON object with the seven record values per
// line. For test environments that have no event log. The file is made if missing.
std::uint32_t AppendToFeed(const wchar_t* path);

}  // namespace ovs::stopsvc
