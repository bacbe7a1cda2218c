#include "os/posix/PosixOpenFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "os/WindowsPath.h"
#include "os/posix/PosixErrors.h"
#include "os/posix/PosixFileInfo.h"

namespace ovs::posix {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr int kSafeFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// Repeats a call that a signal interrupted.
template <typename Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// A file of such a name could be made here, but not be reached where the name is a device's.
bool EndsInDeviceName(const NativePath& path) {
  const auto name = TextOfNative(std::string_view(path.asked).substr(path.asked.rfind('/') + 1));
  return name && IsDeviceName(*name);
}

os::Error StampOpen(int fd, os::FileStamp& out) {
  struct statx status {};
  if (!Look(fd, "", AT_EMPTY_PATH, status)) return ErrorOf(errno);
  out = StampOf(status);
  return os::kSuccess;
}

class PosixReadFile : public os::ReadFile {
 public:
  explicit PosixReadFile(UniqueFd fd) : fd_(std::move(fd)) {}

  os::Error Stamp(os::FileStamp& out) override { return StampOpen(fd_.Get(), out); }

  os::Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    got = 0;
    const auto read = Retry([&] { return pread(fd_.Get(), buffer.data(), buffer.size(), static_cast<off_t>(offset)); });
    if (read < 0) return ErrorOf(errno);
    got = static_cast<std::size_t>(read);
    return os::kSuccess;
  }

 private:
  UniqueFd fd_;
};

class PosixAppendFile : public os::AppendFile {
 public:
  explicit PosixAppendFile(UniqueFd fd) : fd_(std::move(fd)) {}

  os::Error Stamp(os::FileStamp& out) override { return StampOpen(fd_.Get(), out); }

  os::Error Append(std::string_view bytes) override {
    if (bytes.empty()) return os::kSuccess;
    const ssize_t written = Retry([&] { return write(fd_.Get(), bytes.data(), bytes.size()); });
    if (written < 0) return ErrorOf(errno);
    if (static_cast<std::size_t>(written) == bytes.size()) return os::kSuccess;
    // Nothing is cut when another program has appended behind the torn piece.
    const off_t end = lseek(fd_.Get(), 0, SEEK_CUR);
    if (end >= written) Shorten(static_cast<std::uint64_t>(end), static_cast<std::uint64_t>(end - written)).Ignore();
    return SystemError::kDiskFull;
  }

  os::Error Shorten(std::uint64_t from, std::uint64_t to) override {
    struct stat status {};
    if (fstat(fd_.Get(), &status) != 0) return ErrorOf(errno);
    if (static_cast<std::uint64_t>(status.st_size) != from) return SystemError::kSharingViolation;
    return ftruncate(fd_.Get(), static_cast<off_t>(to)) == 0 ? os::kSuccess : ErrorOf(errno);
  }

 private:
  UniqueFd fd_;
};

}  // namespace

os::Error OpenPlainFile(const NativePath& path, int flags, UniqueFd& out) {
  out = UniqueFd();
  if (path.trailing) return SystemError::kInvalidName;
  struct statx status {};
  const bool writes = (flags & O_ACCMODE) != O_RDONLY;
  const bool exists = Look(AT_FDCWD, path.path.c_str(), 0, status);
  if (EndsInDeviceName(path) || (exists && (!IsPlainFile(status) || (writes && IsReadOnly(status))))) {
    return SystemError::kAccessDenied;
  }
  UniqueFd fd(Retry([&] { return open(path.path.c_str(), flags | kSafeFlags, kNewFileMode); }));
  if (!fd) return LookupError(errno, path.path);
  if (!Look(fd.Get(), "", AT_EMPTY_PATH, status) || !IsPlainFile(status)) return SystemError::kAccessDenied;
  out = std::move(fd);
  return os::kSuccess;
}

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = Retry([&] { return write(fd, bytes.data(), bytes.size()); });
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::unique_ptr<os::ReadFile> MakeReadFile(UniqueFd fd) { return std::make_unique<PosixReadFile>(std::move(fd)); }
std::unique_ptr<os::AppendFile> MakeAppendFile(UniqueFd fd) { return std::make_unique<PosixAppendFile>(std::move(fd)); }

}  // namespace ovs::posix
