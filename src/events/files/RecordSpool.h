// Keeps records in a temporary file, so that any number of them can be put into the order of their time.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "events/files/RecordPieces.h"
#include "os/Files.h"

namespace ovs {

// Memory is needed for 32 bytes a record. The file is deleted with the object.
class RecordSpool {
 public:
  // `files` must outlive it. `path` is a file of its own; an existing one is overwritten.
  RecordSpool(os::Files& files, TextView path);
  ~RecordSpool();
  RecordSpool(const RecordSpool&) = delete;
  RecordSpool& operator=(const RecordSpool&) = delete;

  // Throws RuntimeError when the file cannot be written, as Replay does when it cannot be read.
  void Add(const EventRecord& record);
  [[nodiscard]] std::size_t Count() const { return entries_.size(); }

  // Hands on the newest `most` records, or all, oldest first, until `take` answers false. Of records with the same time
  // the one that was added last comes first: logs are read from their end. Nothing can be added afterwards.
  void Replay(std::optional<std::uint64_t> most, const std::function<bool(const RawRecord& record)>& take);

 private:
  struct Entry {
    std::int64_t time = 0;  // ticks of 100 ns since 1601
    std::uint64_t place = 0;
    std::size_t length = 0;
  };

  void Write();

  os::Files& files_;
  Text path_;
  std::unique_ptr<os::AppendFile> file_;
  std::string waiting_;  // to be written
  std::uint64_t written_ = 0;
  std::vector<Entry> entries_;
};

}  // namespace ovs
