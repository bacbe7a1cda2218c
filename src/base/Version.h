// The program's name and version. The build takes it from here, for the version resources too.
#pragma once

#include "base/Text.h"

namespace ovs {

inline constexpr TextView kTitle = u"Orvanta Event Service";
inline constexpr TextView kVersion = u"1.0.0";
inline constexpr const char* kVersionUtf8 = "1.0.0";

}  // namespace ovs
