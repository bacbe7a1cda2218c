// Rendered procedure records on disk, in whatever order they come, read back in ID order.
//
// One file holds blocks of text and, between them, sorted runs of the index (ID, part, place); reading merges the runs.
// Memory stays flat: one index run and one block buffer, however many records there are. docs/debug-log.md has the file's
// layout. Not locked: its owner lets one thread in at a time. The pending system error stays as it is.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/Text.h"
#include "diag/Events.h"
#include "os/Files.h"

namespace ovs {

class ProcSpool {
 public:
  struct Block {
    ProcId id = 0;
    std::uint32_t part = 0;  // order within the record; part 0 comes with the record's exit
    bool problem = false;    // of part 0: the record has a problem
  };
  using Visitor = std::function<void(const Block&, std::string_view utf8)>;

  ProcSpool() = default;
  ~ProcSpool();
  ProcSpool(const ProcSpool&) = delete;
  ProcSpool& operator=(const ProcSpool&) = delete;

  // `files` must outlive the spool.
  void Attach(os::Files* files) noexcept { files_ = files; }
  // The place of the file, which is made with its folder once something is to be written; ignored when it is made already.
  // Until a path is given, and while the file cannot be written, blocks wait in memory; beyond kMostWaiting bytes they are
  // lost and counted.
  void SetPath(TextView path);
  static constexpr std::size_t kMostWaiting = std::size_t{4} * 1024 * 1024;

  void Add(const Block& block, std::string_view utf8);
  // All blocks by ID, then part. False when some could not be read back.
  bool ForEach(const Visitor& visit);
  [[nodiscard]] std::uint64_t LostBlocks() const noexcept { return lost_; }
  // Forgets all blocks and deletes the file.
  void Remove();

  // For tests and measurements: index entries held before a run is written.
  void SetRunLength(std::size_t entries) { runLength_ = entries; }

 private:
  struct Entry {
    ProcId id;
    std::uint32_t part;
    std::uint64_t offset;
    std::uint32_t length;
    std::uint32_t problem;
    auto Key() const { return std::tuple(id, part, offset); }
  };
  struct Run {
    std::uint64_t offset;
    std::uint64_t count;
  };
  class Merge;
  class BlockReader;

  bool OpenFile();
  bool Flush();
  bool WriteBytes(std::string_view bytes);
  void WriteRun();

  os::Files* files_ = nullptr;
  Text path_;
  std::unique_ptr<os::AppendFile> file_;
  std::uint64_t written_ = 0;   // bytes in the file
  std::string waiting_;         // bytes that follow them
  std::vector<Entry> entries_;  // of the run being gathered
  std::vector<Run> runs_;
  std::size_t runLength_ = 32768;
  std::uint64_t lost_ = 0;
  std::uint32_t triesToSkip_ = 0;  // after a failure: a file that cannot be written is not tried for every block
};

}  // namespace ovs
