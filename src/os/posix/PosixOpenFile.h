// Open files of the native file system.
#pragma once

#include <memory>
#include <string>

#include "os/Files.h"
#include "os/posix/PosixPath.h"
#include "os/posix/UniqueFd.h"

namespace ovs::posix {

// Opens a plain file. What is no plain file (a folder, pipe, device) is refused with number 5 without being touched:
// opening a pipe would wait, opening a device can act. A failure leaves `out` empty.
os::Error OpenPlainFile(const NativePath& path, int flags, UniqueFd& out);

// Writes all bytes; short writes are continued. False with errno set.
[[nodiscard]] bool WriteAll(int fd, std::string_view bytes);

[[nodiscard]] std::unique_ptr<os::ReadFile> MakeReadFile(UniqueFd fd);
[[nodiscard]] std::unique_ptr<os::AppendFile> MakeAppendFile(UniqueFd fd);

}  // namespace ovs::posix
