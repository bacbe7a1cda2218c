// Counts what the program allocates by operator new.
#pragma once

#include <cstdint>

namespace ovs {

[[nodiscard]] int AllocationCount() noexcept;
[[nodiscard]] std::uint64_t AllocatedBytes() noexcept;

}  // namespace ovs
