// Paths in the forms that the system's calls take.
#pragma once

#include <optional>
#include <string>

#include "base/Text.h"

namespace ovs::win32 {

// The full path of a plain one, made by the system: "/" counts as "\", "." and ".." are resolved, blanks and dots at the end
// of a name dropped, relative parts count from the current folder. None when that fails, the number recorded.
[[nodiscard]] std::optional<std::wstring> FullPath(TextView path);

// The full path in the extended-length form, which may have any length: "\\?\C:\a", "\\?\UNC\server\share\a". What has that
// form already stays as it is. None when the path is empty (number 3), no path (123) or that of a device (5).
[[nodiscard]] std::optional<std::wstring> ExtendedPath(TextView path);

// Without the extended-length prefix, for calls that do not know it.
[[nodiscard]] std::wstring PlainPath(std::wstring path);

}  // namespace ovs::win32
