#include "ovsctl/status/GrowingFile.h"

#include <array>

#include "os/PendingError.h"

namespace ovs {

GrowingFile::GrowingFile(os::Files& files, TextView path) : files_(files), path_(path) {
  os::FileInfo info;
  if (files_.Info(path_, info)) read_ = info.size;
  TakePendingSystemError();
}

const std::string& GrowingFile::Appended() {
  constexpr std::size_t kMost = std::size_t{1} << 20;
  std::array<char, std::size_t{64} * 1024> buffer;
  std::size_t got = 0;
  // Opened each time: the writer may begin a new file under the old name.
  const std::unique_ptr<os::ReadFile> file = files_.OpenRead(path_);
  while (file && file->ReadAt(read_, buffer, got) && got > 0) {
    read_ += got;
    for (const char byte : std::string_view(buffer.data(), got)) {
      if (byte != '\0') appended_ += byte;
    }
    if (appended_.size() > kMost) appended_.erase(0, appended_.size() - kMost);
  }
  TakePendingSystemError();
  return appended_;
}

}  // namespace ovs
