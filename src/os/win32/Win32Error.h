// Recording of what a failing call left.
#pragma once

#include <cstdint>

namespace ovs::win32 {

// Records the number and yields false.
bool Fail(std::uint32_t number) noexcept;
// The same with the calling thread's last error; to be called in the statement that failed.
bool FailLast() noexcept;

}  // namespace ovs::win32
