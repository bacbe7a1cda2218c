// Open files of the native file system.
#pragma once

#include <unistd.h>
#include <memory>
#include <string>
#include <utility>

#include "os/Files.h"
#include "os/posix/PosixPath.h"

namespace ovs::posix {

// Owner of a file descriptor.
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() {
    if (fd_ >= 0) close(fd_);
  }

  [[nodiscard]] int Get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_;
};

// Opens a plain file. A folder, pipe or device is refused with number 5 without being touched: opening a pipe would wait,
// opening a device can act. A failure leaves `out` empty.
os::Error OpenPlainFile(const NativePath& path, int flags, UniqueFd& out);

// Writes all bytes; short writes are continued. False with errno set.
[[nodiscard]] bool WriteAll(int fd, std::string_view bytes);

[[nodiscard]] std::unique_ptr<os::ReadFile> MakeReadFile(UniqueFd fd);
[[nodiscard]] std::unique_ptr<os::AppendFile> MakeAppendFile(UniqueFd fd);

}  // namespace ovs::posix
