// Tells whether a text stands in a file already, without reading the file each time.
//
// The question: does the text, without its final CR LF, stand anywhere in the file followed by CR LF or by the file's
// end? Case does not count. For a text without a line break that means: does a line end with it?
//
// Kept in memory, and used only to skip reading:
//   - a table of all lines (a hash's part and the place in the file, 8 bytes a slot, two thirds of the slots in use at
//     most): finds the line that is equal; what it finds is compared in the file;
//   - for each hash of the last 16 characters of a line the length of the longest such line: where no line is longer than
//   the
//     text, none but an equal line can end with it;
//   - where longer lines exist, the hashes of what they end with, made by one reading of the file for each such length.
// A finding that the file does not confirm, and a text of another kind (shorter than 16 characters, with a line break,
// very long), is decided by reading the file.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Text.h"
#include "os/Files.h"
#include "platform/LineScanner.h"

namespace ovs {

// Open addressing; equal tags on one probing way count as the same line.
class LineTable {
 public:
  void Reset(std::size_t lines);
  // False when the table is full; it then misses the line.
  bool Insert(std::uint64_t hash, std::uint64_t offset);
  // Offset of a line that may be the one searched; none when there surely is no such line.
  [[nodiscard]] std::optional<std::uint64_t> Find(std::uint64_t hash) const;
  [[nodiscard]] std::size_t Bytes() const { return slots_.capacity() * sizeof(std::uint64_t); }

 private:
  [[nodiscard]] std::size_t Home(std::uint64_t hash) const;

  std::vector<std::uint64_t> slots_;  // tag above, offset + 1 below; 0 is free
  std::size_t used_ = 0;
};

// The greatest length by hash; grows as it needs to.
class LongestTable {
 public:
  void Raise(std::uint64_t hash, std::uint32_t length);
  // 0 when nothing has this hash.
  [[nodiscard]] std::uint32_t Find(std::uint64_t hash) const;
  [[nodiscard]] std::size_t Bytes() const { return slots_.capacity() * sizeof(Slot); }

 private:
  struct Slot {
    std::uint64_t hash = 0;
    std::uint64_t length = 0;  // 0 is free
  };
  [[nodiscard]] std::size_t Place(std::uint64_t hash) const;
  void Grow();

  std::vector<Slot> slots_;  // a power of two
  std::size_t used_ = 0;
};

class NoDuplicateIndex {
 public:
  explicit NoDuplicateIndex(FileEncoding encoding);

  // Reads the whole file. 223 when it is larger than an index can tell places of.
  os::Error Build(os::ReadFile& file);
  // Takes what was appended to the file. False when the index has no more room and is to be built anew.
  bool Feed(std::string_view appended);
  // The answer for the file as it was fed. A failure is one of reading.
  os::Error Contains(os::ReadFile& file, TextView entry, bool& found);

  [[nodiscard]] std::size_t Bytes() const;

 private:
  // The ends, `length` long, of the longer lines of one tail.
  struct SuffixSet {
    std::size_t length;
    std::uint64_t tail;
    std::vector<std::uint64_t> hashes;  // sorted
  };

  void AddLine(const ScannedLine& line);
  os::Error ContainsSuffix(os::ReadFile& file, TextView folded, bool& found);
  SuffixSet* FindOrMakeSuffixSet(os::ReadFile& file, std::size_t length, std::uint64_t tail);
  os::Error LineAtIs(os::ReadFile& file, std::uint64_t offset, TextView folded, bool& same) const;
  os::Error Search(os::ReadFile& file, TextView folded, bool& found) const;

  FileEncoding encoding_;
  LineScanner scanner_;
  LineTable lines_;
  LongestTable longest_;  // by tail
  std::vector<SuffixSet> suffixes_;
  std::size_t lineCount_ = 0;
  bool full_ = false;
};

}  // namespace ovs
