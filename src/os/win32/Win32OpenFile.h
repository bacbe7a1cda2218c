// Open files of the machine.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "os/Files.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {

enum class OpenMode {
  Read,     // an existing file
  Append,   // appending alone; a missing file is created
  Flush,    // the same for an existing file
  Replace,  // writing; a missing file is created, an existing one emptied
};

// Opens a plain file of a disk, shared for reading, writing and deleting. What is none (a folder, pipe, device) is refused
// with number 5. A failure leaves `out` empty.
os::Error OpenPlainFile(TextView path, OpenMode mode, Handle& out);

// Writes all bytes at the file position.
os::Error WriteAll(const Handle& file, std::string_view bytes);

[[nodiscard]] std::unique_ptr<os::ReadFile> MakeReadFile(Handle file);
// `file` is open for appending alone, so that each write of it goes to the end, wherever that is by then.
[[nodiscard]] std::unique_ptr<os::AppendFile> MakeAppendFile(Handle file);

}  // namespace ovs::win32
