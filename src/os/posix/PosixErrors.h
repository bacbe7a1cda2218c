// Windows system error numbers for what the POSIX calls report.
#pragma once

#include <cstdint>
#include <optional>
#include "base/Text.h"
#include "os/Error.h"

namespace ovs::posix {

// The counterpart of an errno; 31 for one that has none.
os::Error ErrorOf(int number) noexcept;

// Of a call that tells of its failure by errno; to be asked in the statement of the call.
os::Error Outcome(bool done) noexcept;

// The texts of the commonest errors, for builds without Windows' own.
// In English and ending in CR LF, as Windows delivers them.
[[nodiscard]] std::optional<Text> MessageOf(std::uint32_t number);

}  // namespace ovs::posix
