#include "base/Encoding.h"
#include "base/os/CommandLine.h"
#include "base/win32/Win32Path.h"
#include "base/win32/Win32Text.h"

namespace ovs::os {

std::optional<Text> FullPathOfArgument(std::string_view argument) {
  const auto full = win32::FullPath(FromUtf8(argument));
  return full ? std::optional(FromWide(*full)) : std::nullopt;
}

}  // namespace ovs::os
