#include "os/win32/Win32OpenFile.h"

#include <windows.h>

#include <algorithm>
#include <limits>

#include "os/win32/Win32Path.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::size_t kLongestPiece = std::size_t{1} << 30;

std::uint64_t Join(DWORD high, DWORD low) { return (static_cast<std::uint64_t>(high) << 32) | low; }

DWORD AccessOf(OpenMode mode) {
  switch (mode) {
    case OpenMode::Read:
      return GENERIC_READ;
    case OpenMode::Append:
    case OpenMode::Flush:
      return FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE;
    default:
      return GENERIC_WRITE;
  }
}

os::Error StampOpen(const Handle& file, os::FileStamp& out) {
  BY_HANDLE_FILE_INFORMATION info = {};
  if (!GetFileInformationByHandle(file.Get(), &info)) return LastError();
  // Not every file system tells the time of the last change.
  FILE_BASIC_INFO basic = {};
  const bool knowsChange = GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &basic, sizeof basic) != 0;
  out = {.volume = info.dwVolumeSerialNumber,
         .index = Join(info.nFileIndexHigh, info.nFileIndexLow),
         .size = Join(info.nFileSizeHigh, info.nFileSizeLow),
         .modified = TicksOf(info.ftLastWriteTime),
         .changed = knowsChange ? basic.ChangeTime.QuadPart : 0};
  return os::kSuccess;
}

class Win32ReadFile : public os::ReadFile {
 public:
  explicit Win32ReadFile(Handle file) : file_(std::move(file)) {}

  os::Error Stamp(os::FileStamp& out) override { return StampOpen(file_, out); }

  os::Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    got = 0;
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD read = 0;
    const auto wanted = static_cast<DWORD>(std::min(buffer.size(), kLongestPiece));
    if (!::ReadFile(file_.Get(), buffer.data(), wanted, &read, &place)) {
      const os::Error error = LastError();
      return error.Number() == ERROR_HANDLE_EOF ? os::kSuccess : error;
    }
    got = read;
    return os::kSuccess;
  }

 private:
  Handle file_;
};

class Win32AppendFile : public os::AppendFile {
 public:
  explicit Win32AppendFile(Handle file) : file_(std::move(file)) {}

  os::Error Stamp(os::FileStamp& out) override { return StampOpen(file_, out); }

  os::Error Append(std::string_view bytes) override {
    if (bytes.empty()) return os::kSuccess;
    if (bytes.size() > std::numeric_limits<DWORD>::max()) return SystemError::kFileTooLarge;
    LARGE_INTEGER before = {};
    if (!GetFileSizeEx(file_.Get(), &before)) return LastError();
    DWORD written = 0;
    const bool done = WriteFile(file_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0;
    if (done && written == bytes.size()) return os::kSuccess;
    const os::Error error = done ? SystemError::kDiskFull : LastError();
    // Nothing is cut when another program has appended as well, in front of the torn piece or behind it.
    const auto size = static_cast<std::uint64_t>(before.QuadPart);
    if (written != 0) Shorten(size + written, size).Ignore();
    return error;
  }

  // The right to append alone does not let a file be cut, so it is opened once more.
  os::Error Shorten(std::uint64_t from, std::uint64_t to) override {
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file_.Get(), &size)) return LastError();
    if (static_cast<std::uint64_t>(size.QuadPart) != from) return SystemError::kSharingViolation;
    const Handle writable(ReOpenFile(file_.Get(), GENERIC_WRITE, kShareAll, 0));
    if (!writable) return LastError();
    FILE_END_OF_FILE_INFO end = {};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(to);
    return Outcome(SetFileInformationByHandle(writable.Get(), FileEndOfFileInfo, &end, sizeof end) != 0);
  }

 private:
  Handle file_;
};

}  // namespace

os::Error OpenPlainFile(TextView path, OpenMode mode, Handle& out) {
  out.Close();
  std::wstring extended;
  if (const os::Error error = ExtendedPath(path, extended); error.Failed()) return error;
  if (extended.ends_with(L'\\')) return SystemError::kInvalidName;
  const DWORD disposition = mode == OpenMode::Read || mode == OpenMode::Flush ? OPEN_EXISTING : OPEN_ALWAYS;
  Handle file(
      CreateFileW(extended.c_str(), AccessOf(mode), kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return LastError();
  if (GetFileType(file.Get()) != FILE_TYPE_DISK) return SystemError::kAccessDenied;
  // Emptied only now that it is known to be a file; its attributes stay as they are.
  if (mode == OpenMode::Replace && !SetEndOfFile(file.Get())) return LastError();
  out = std::move(file);
  return os::kSuccess;
}

os::Error WriteAll(const Handle& file, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto piece = static_cast<DWORD>(std::min(bytes.size(), kLongestPiece));
    if (!WriteFile(file.Get(), bytes.data(), piece, &written, nullptr)) return LastError();
    if (written == 0) return SystemError::kDiskFull;
    bytes.remove_prefix(written);
  }
  return os::kSuccess;
}

std::unique_ptr<os::ReadFile> MakeReadFile(Handle file) { return std::make_unique<Win32ReadFile>(std::move(file)); }
std::unique_ptr<os::AppendFile> MakeAppendFile(Handle file) { return std::make_unique<Win32AppendFile>(std::move(file)); }

}  // namespace ovs::win32
