// Counts what the test program allocates by operator new.
#pragma once

namespace ovs {

[[nodiscard]] int AllocationCount() noexcept;

}  // namespace ovs
