// Counts what the program allocates by operator new, and lets it fail.
#pragma once

#include <cstdint>

namespace ovs {

[[nodiscard]] int AllocationCount() noexcept;
[[nodiscard]] std::uint64_t AllocatedBytes() noexcept;

// While it lives the nth allocation from now (the next one is the first) finds no memory, nor does any that follows it
// when `allAfter` is set. One at a time.
class AllocationFailure {
 public:
  AllocationFailure(int nth, bool allAfter) noexcept;
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;
};

}  // namespace ovs
