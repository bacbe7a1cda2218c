// Finds the encoding that a text file has, chunk by chunk.
#pragma once

#include <string>
#include <string_view>

#include "base/Encoding.h"
#include "os/Files.h"

namespace ovs {

class EncodingFinder {
 public:
  // Takes the bytes that follow what was fed before, from the file's first byte on.
  void Feed(std::string_view bytes);

  // By the byte-order mark; else UTF-8 when all bytes are valid UTF-8; else Windows-1252.
  [[nodiscard]] FileEncoding Encoding() const;

 private:
  std::string head_;  // the first three bytes
  Utf8Checker checker_;
};

// Feeds a whole file from its beginning.
os::Error FindEncoding(os::ReadFile& file, EncodingFinder& finder);

}  // namespace ovs
