// Takes a Windows-style path apart, for the adapters that keep folders and files by other means than Windows' own.
#pragma once

#include <vector>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs {

struct WindowsPath {
  Text root;                // "C:" with a capital letter, or "\\server\share"
  std::vector<Text> names;  // the folders below the root and the last name; no "." or ".."
  bool trailing = false;    // the path ended in "\"
};

// Takes a path apart by Windows' rules: "/" counts as "\", "." and ".." are resolved, blanks and dots at the end of a name
// are dropped; after "\\?\" all names stand as they are. What is relative counts from `currentFolder`, a full path.
// 3 or 123 when it is no path.
os::Error SplitWindowsPath(TextView path, TextView currentFolder, WindowsPath& out);

// The plain path again, without "\" at the end unless it is the root of a drive.
[[nodiscard]] Text JoinWindowsPath(const WindowsPath& path);

// True when a path's last name, without a folder, is a device's: "NUL", "con", "COM1". Whether a device hides behind a name
// with an extension as well ("nul.txt") differs from one Windows version to the next and is not answered here.
[[nodiscard]] bool IsDeviceName(TextView name);

}  // namespace ovs
