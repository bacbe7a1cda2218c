// Log files that other programs write: their last lines, and what is appended while one watches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

// The last lines of a text file of any size, oldest first; only its end is read, so very long lines may be missing. None,
// with the system error pending, when it cannot be read.
[[nodiscard]] std::vector<Text> LastLines(os::Files& files, TextView path, std::size_t most);

// A text file that another program appends to while it is watched.
class GrowingFile {
 public:
  // The present content is passed over; the file may be missing as yet. `files` must outlive this object.
  GrowingFile(os::Files& files, TextView path);

  // The text appended since, of more than 1 MB the end. NULs are left out, so that text in ASCII is found in a file of
  // any encoding.
  const std::string& Appended();

 private:
  os::Files& files_;
  Text path_;
  std::uint64_t read_ = 0;
  std::string appended_;
};

}  // namespace ovs
