// Event records out of JSON lines: one object a line, with the keys EventType, Type, EventCode, SourceName, Message,
// Logfile and TimeGenerated. A missing key or null is the platform's null; a text may stand for a number and the other way
// round. Conversion to a record follows the service's own rules.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/os/Files.h"
#include "service/EventSource.h"

namespace ovs {

// One line to the raw record. False, with the reason in English, when the line is no such object.
[[nodiscard]] bool ParseJsonRecord(std::string_view line, RawRecord& out, std::string& reason);

struct JsonReadResult {
  bool opened = false;
  bool complete = false;  // read to the end without a read error
  std::uint64_t records = 0;
  std::uint64_t badLines = 0;
};

// Streams a file of any size line by line (LF or CR LF; blank lines are skipped). `onRecord` gets each record, `onBadLine`
// each line (numbered from 1) that is none; reading goes on after it. A line over 64 MB is a bad line.
JsonReadResult ReadJsonRecords(os::Files& files, TextView path, const std::function<void(const RawRecord&)>& onRecord,
                               const std::function<void(std::uint64_t line, const std::string& reason)>& onBadLine);

}  // namespace ovs
