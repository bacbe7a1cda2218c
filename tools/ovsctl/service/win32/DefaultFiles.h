// The files that a new installation begins with. Their content comes from files in the source tree, see the build files.
#pragma once

#include <span>
#include <string_view>

#include "base/Text.h"

namespace ovs {

struct DefaultFile {
  TextView name;
  std::string_view content;
};

[[nodiscard]] DefaultFile DefaultSettings();
[[nodiscard]] std::span<const DefaultFile> DefaultRules();

}  // namespace ovs
