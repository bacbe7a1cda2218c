#include "LongRunning.h"

#include <algorithm>
#include <filesystem>

#include "base/Encoding.h"
#include "os/Files.h"

namespace ovs {

void MakeLongFile(TextView path, std::string_view start, std::uint64_t bytes) {
  os::SystemFiles().Write(path, start).Ignore();
  std::string native = ToUtf8(path.substr(2));  // without "Z:"
  std::ranges::replace(native, '\\', '/');
  std::filesystem::resize_file(native, bytes);
}

std::size_t OpenHandles() {
  return static_cast<std::size_t>(std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd")));
}

}  // namespace ovs
