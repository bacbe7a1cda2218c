// Past event records out of files.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "events/EventRecord.h"
#include "os/Files.h"

namespace ovs {

// The functions that are told of what is read. `onRecord` must be set, the others may be empty.
struct RecordSink {
  std::function<void(const RawRecord& record)> onRecord;
  // A piece that is no record; `place` says where, such as "line 12" or "byte 34567". It is skipped.
  std::function<void(const std::string& place, const std::string& reason)> onBad;
  // Now and then: bytes read and bytes in all.
  std::function<void(std::uint64_t done, std::uint64_t total)> onProgress = {};
  // Remarks about the whole, each made at most once.
  std::function<void(const std::string& note)> onNote = {};
  // Asked before each piece; true ends the reading, which then counts as complete.
  std::function<bool()> isEnough = {};
};

struct RecordReadResult {
  bool opened = false;
  bool complete = false;  // read to the end
  os::Error error;        // why it was not opened, or not read to the end
  std::uint64_t records = 0;
  std::uint64_t bad = 0;
};

// Reads records from a file of any size in the order in which they stand. The first character that is no blank tells what
// it is:
//   "<"       what "wevtutil qe LOG /f:RenderedXml" prints: Event elements, with or without a root element
//   another   JSON lines: an object a line with the seven values named as the service's event source names them
// The file is UTF-8 or UTF-16; memory is needed for one record, which is refused when it is longer than 64 MB.
RecordReadResult ReadRecords(os::Files& files, TextView path, const RecordSink& sink);

// The line of JSON from which ReadRecords reads that record again.
[[nodiscard]] std::string RecordJson(const EventRecord& record);

}  // namespace ovs
