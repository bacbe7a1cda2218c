// Windows system error numbers for what the POSIX calls report.
#pragma once

#include <cstdint>

namespace ovs::posix {

// The number for an errno; 31 for one that has no counterpart.
[[nodiscard]] std::uint32_t SystemErrorOf(int error) noexcept;

// Records the number and yields false.
bool Fail(std::uint32_t number) noexcept;
bool FailErrno(int error) noexcept;

}  // namespace ovs::posix
