// Numbers from text and text from numbers, without a locale.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "base/Text.h"

namespace ovs {

// Whole text or none: an optional sign, then decimal digits 0 to 9 and nothing else, no blanks. None as well when the
// number is outside the type. Leading zeros are allowed, so a text may be longer than the number it stands for.
[[nodiscard]] std::optional<std::int32_t> ParseInt32(TextView text);
[[nodiscard]] std::optional<std::int64_t> ParseInt64(TextView text);

// As above; only "+" is taken as a sign, and a number above `max` gives none.
[[nodiscard]] std::optional<std::uint64_t> ParseUnsigned(TextView text,
                                                         std::uint64_t max = std::numeric_limits<std::uint64_t>::max());

[[nodiscard]] Text NumberText(std::int64_t value);

// At least `width` digits, filled with zeros on the left; a "-" comes in front of them: (7, 3) gives "007", (-7, 3) "-007".
[[nodiscard]] Text PaddedNumberText(std::int64_t value, int width);

// Upper case, at least `minDigits` digits, no prefix: (0x1A, 4) gives "001A".
[[nodiscard]] Text HexText(std::uint32_t value, int minDigits = 1);

}  // namespace ovs
