// Counts what the program allocates by operator new, and lets it fail.
#pragma once

#include <cstdint>
#include <string_view>

namespace ovs {

[[nodiscard]] int AllocationCount() noexcept;
[[nodiscard]] std::uint64_t AllocatedBytes() noexcept;
// Those that were not given back.
[[nodiscard]] int LiveAllocations() noexcept;

// While it lives the nth allocation from now (the next one is the first) finds no memory, nor does any that follows it
// when `allAfter` is set. One at a time.
class AllocationFailure {
 public:
  AllocationFailure(int nth, bool allAfter) noexcept;
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;
};

// While it lives, memory that is given back is searched for a text of ASCII characters, as bytes and as UTF-16. One at a
// time.
class FreedMemoryWatch {
 public:
  // `text` must outlive this object.
  explicit FreedMemoryWatch(std::string_view text) noexcept;
  ~FreedMemoryWatch();
  FreedMemoryWatch(const FreedMemoryWatch&) = delete;
  FreedMemoryWatch& operator=(const FreedMemoryWatch&) = delete;

  // Blocks that held the text, and blocks in all.
  [[nodiscard]] static int Found() noexcept;
  [[nodiscard]] static int Searched() noexcept;
};

}  // namespace ovs
