// A buffer of finished debug log entries: a preallocated text of blanks with three numbers. All lengths are in characters.
// Not locked: its owner lets one thread in at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "base/Text.h"

namespace ovs {

// The numbers are those of a buffer that keeps all it was given. The text itself may be bounded, see the constructor.
class DebugBuffer {
 public:
  enum class Bound {
    Tail,          // the oldest characters are forgotten, the numbers go on as if they were kept
    WholeEntries,  // the oldest entries are dropped and counted, the numbers shrink with them
  };

  // `limit` in characters: the most of the text that is held.
  DebugBuffer(std::size_t limit, Bound bound) : limit_(limit), bound_(bound) {}

  void SetGrowthStep(std::uint32_t step) noexcept { step_ = step; }

  // Appends the entry and CR LF CR LF. An empty entry is ignored.
  void Append(TextView entry);
  // Forgets all: capacity and used become 0.
  void Empty() noexcept;

  [[nodiscard]] std::uint64_t Capacity() const noexcept { return capacity_; }
  [[nodiscard]] std::uint64_t Used() const noexcept { return used_; }

  // The used part, or as much of its end as is held.
  [[nodiscard]] TextView UsedText() const noexcept;
  // Entries dropped since the last Empty.
  [[nodiscard]] std::uint64_t DroppedEntries() const noexcept { return droppedEntries_; }

 private:
  void Grow(std::uint64_t length);
  void MakeRoom(std::size_t length);
  void ForgetFront(std::size_t length);

  std::size_t limit_;
  Bound bound_;
  Text text_;                    // the held part, from character forgotten_ on, blanks behind the used part
  std::uint64_t forgotten_ = 0;  // characters in front of text_ that are no longer held
  std::uint64_t capacity_ = 0;
  std::uint64_t used_ = 0;
  std::uint32_t step_ = 0;
  std::deque<std::size_t> lengths_;  // of the held entries; kept for WholeEntries only
  std::uint64_t droppedEntries_ = 0;
};

}  // namespace ovs
