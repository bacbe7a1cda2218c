// The network adapters of the machine.
#pragma once

#include <vector>

#include "base/Text.h"

namespace ovs::win32 {

// The addresses that System::LanAddresses promises.
[[nodiscard]] std::vector<Text> AdapterAddresses();

}  // namespace ovs::win32
