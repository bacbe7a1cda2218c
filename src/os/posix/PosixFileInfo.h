// The facts that a native file system tells about a file, in the port's terms.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs::posix {

// Looks at `path` below the open folder `folder` (AT_FDCWD for a full path). False with errno set.
bool Look(int folder, const char* path, int flags, struct statx& out);

[[nodiscard]] bool IsFolder(const struct statx& status);
[[nodiscard]] bool IsLink(const struct statx& status);
[[nodiscard]] bool IsPlainFile(const struct statx& status);
// Nobody may write it.
[[nodiscard]] bool IsReadOnly(const struct statx& status);

[[nodiscard]] os::FileInfo InfoOf(const struct statx& status);
[[nodiscard]] os::FileStamp StampOf(const struct statx& status);

// The name for the type number that statfs reports, in capitals as Windows names its own; "UNKNOWN" for another.
[[nodiscard]] Text NameOfFileSystem(std::uint32_t type);

}  // namespace ovs::posix
