// Paths in the forms that the system's calls take.
#pragma once

#include <string>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::win32 {

// The full path of a plain one, made by the system: "/" counts as "\", "." and ".." are resolved, blanks and dots at the end
// of a name dropped, relative parts count from the current folder.
os::Error FullPath(TextView path, std::wstring& out);

// The full path in the extended-length form, which may have any length: "\\?\C:\a", "\\?\UNC\server\share\a". What has that
// form already stays as it is. Fails when the path is empty (3), no path (123) or that of a device (5).
os::Error ExtendedPath(TextView path, std::wstring& out);

// Without the extended-length prefix, for calls that do not know it.
[[nodiscard]] std::wstring PlainPath(std::wstring path);

}  // namespace ovs::win32
