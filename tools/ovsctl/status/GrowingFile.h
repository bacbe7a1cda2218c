// A text file that another program appends to while it is watched.
#pragma once

#include <cstdint>
#include <string>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

class GrowingFile {
 public:
  // What the file holds already is passed over; it may be missing as yet. `files` must outlive this object.
  GrowingFile(os::Files& files, TextView path);

  // What has been appended since, of more than 1 MB the end. NULs are left out, so that text in ASCII is found in a file of
  // any encoding.
  const std::string& Appended();

 private:
  os::Files& files_;
  Text path_;
  std::uint64_t read_ = 0;
  std::string appended_;
};

}  // namespace ovs
