// Windows-style paths and native ones.
//
// The drive "Z:" is the native root; there is no other drive. A native name that is not valid UTF-8 is shown with the unit
// U+DC00 + byte in place of each byte from 0x80 on, which is no valid text either, so the way back is certain.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::posix {

// A native name or path as text, "/" left as it is; none when it holds a "\", which no Windows-style path can carry.
[[nodiscard]] std::optional<Text> TextOfNative(std::string_view native);
[[nodiscard]] std::string NativeOfText(TextView name);

// "/a/b" as "Z:\a\b".
[[nodiscard]] std::optional<Text> WindowsPathOf(std::string_view nativePath);

struct NativePath {
  std::string path;       // starts with "/"; no "/" at its end unless it is the root
  std::string asked;      // the same, with the last name spelled as the caller spelled it
  bool trailing = false;  // the caller's path ended in "\"
};

// Finds the native path of a Windows-style one. Names are looked up as they are spelled, then without regard to case;
// what is not found stays as it is spelled. 3 or 123 when the path can name nothing here.
os::Error FindNative(TextView path, NativePath& out);

// The folder that a native path lies in, without "/" at its end unless it is the root.
[[nodiscard]] std::string NativeFolderOf(const std::string& nativePath);

// Of a failed look-up by its errno: 2 when only the last name is missing, 3 when its folder is missing or is none.
os::Error LookupError(int number, const std::string& nativePath);

}  // namespace ovs::posix
