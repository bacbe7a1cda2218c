// The program's texts as the wide calls take them, and back. Both kinds of unit have the same size on Windows.
#pragma once

#include <string>
#include <string_view>

#include "base/Text.h"

namespace ovs {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

[[nodiscard]] inline std::wstring ToWide(TextView text) { return {text.begin(), text.end()}; }
[[nodiscard]] inline Text FromWide(std::wstring_view text) { return {text.begin(), text.end()}; }

}  // namespace ovs
