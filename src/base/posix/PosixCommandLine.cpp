#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/Encoding.h"
#include "base/os/CommandLine.h"
#include "base/os/PendingError.h"

namespace ovs::os {

std::optional<Text> FullPathOfArgument(std::string_view argument) {
  // The Files port takes "\" for a separator, so a native name that holds one cannot be carried.
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(std::filesystem::path(argument), error);
  if (error || argument.empty() || argument.find('\\') != std::string_view::npos) {
    SetPendingSystemError(SystemErrorNumber::kInvalidName);
    return std::nullopt;
  }
  Text text = u"Z:" + FromUtf8(full.lexically_normal().native());
  std::ranges::replace(text, u'/', u'\\');
  return text;
}

}  // namespace ovs::os
