// Past records out of a file: JSON lines, XML, and what is neither. Nothing breaks the reader, every place it names lies in
// the file, and each record can be handled.
#include <cstdint>
#include <cstdlib>

#include "events/files/Records.h"
#include "support/MemoryFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ovs;
  fakes::MemoryFiles files;
  files.Write(u"C:\\records", {reinterpret_cast<const char*>(data), size}).Ignore();
  std::uint64_t records = 0;
  std::uint64_t bad = 0;
  RecordSink sink;
  sink.onRecord = [&](const RawRecord& raw) {
    ++records;
    static_cast<void>(ToEventRecord(raw));
  };
  sink.onBad = [&](const std::string& place, const std::string& reason) {
    ++bad;
    if (place.empty() || reason.empty()) std::abort();
  };
  sink.onProgress = [&](std::uint64_t done, std::uint64_t total) {
    if (done > total) std::abort();
  };
  const RecordReadResult result = ReadRecords(files, u"C:\\records", sink);
  if (!result.opened || !result.complete || result.records != records || result.bad != bad) std::abort();
  return 0;
}
