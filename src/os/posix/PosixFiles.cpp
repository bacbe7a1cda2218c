#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "base/Fold.h"
#include "os/Files.h"
#include "os/posix/PosixErrors.h"
#include "os/posix/PosixFileInfo.h"
#include "os/posix/PosixOpenFile.h"
#include "os/posix/PosixPath.h"

namespace ovs::os {

namespace {

using namespace ovs::posix;

constexpr mode_t kNewFolderMode = 0777;
constexpr std::size_t kPlainPathLimit = 248;

// A missing last name counts as a missing path too, for calls whose path is the folder itself.
Error OfFolder(Error error) { return error == SystemError::kFileNotFound ? SystemError::kPathNotFound : error; }

// The name of a new file is on the disk only when its folder is; not every file system can flush one.
void FlushFolder(const std::string& folder) {
  const UniqueFd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd) static_cast<void>(fsync(fd.Get()));
}

// A link's entry says that it is a link and whether it leads to a folder.
FileInfo EntryInfo(int folder, const char* name, const struct statx& status) {
  FileInfo info = InfoOf(status);
  struct statx target {};
  if (IsLink(status) && Look(folder, name, 0, target) && IsFolder(target)) {
    info.attributes = FileAttribute::kReparsePoint | FileAttribute::kDirectory;
  }
  return info;
}

class PosixFiles : public Files {
 public:
  Error Info(TextView path, FileInfo& out) override;
  Error OpenRead(TextView path, std::unique_ptr<ReadFile>& out) override;
  Error OpenAppend(TextView path, std::unique_ptr<AppendFile>& out) override;
  Error Write(TextView path, std::string_view bytes) override;
  Error Flush(TextView path) override;
  Error Rename(TextView from, TextView to) override;
  Error Delete(TextView path) override;
  Error RemoveDir(TextView path) override;
  Error CreateDir(TextView path) override;
  Error MakeSureDirectoryPathExists(TextView path) override;
  Error List(TextView folder, std::vector<DirEntry>& out) override;
  Error FolderIdentity(TextView folder, FileStamp& out) override;
  Error LongPathName(TextView path, Text& out) override;
  Error Version(TextView path, FileVersion& out) override;
  Error FileSystemName(TextView root, Text& out) override;
  Error SetCurrentDir(TextView path) override;
  Error TempFolder(Text& out) override;
};

// Finds the path and looks at what is there, a link itself and not what it leads to.
Error FindAndLook(TextView path, NativePath& native, struct statx& status) {
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  if (Look(AT_FDCWD, native.path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return kSuccess;
  return LookupError(errno, native.path);
}

Error PosixFiles::Info(TextView path, FileInfo& out) {
  NativePath native;
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  struct statx status {};
  if (!Look(AT_FDCWD, native.path.c_str(), 0, status)) return LookupError(errno, native.path);
  if (native.trailing && !IsFolder(status)) return SystemError::kInvalidName;
  out = InfoOf(status);
  return kSuccess;
}

Error PosixFiles::OpenRead(TextView path, std::unique_ptr<ReadFile>& out) {
  NativePath native;
  UniqueFd fd;
  Error error = FindNative(path, native);
  if (error.Ok()) error = OpenPlainFile(native, O_RDONLY, fd);
  out = fd ? MakeReadFile(std::move(fd)) : nullptr;
  return error;
}

Error PosixFiles::OpenAppend(TextView path, std::unique_ptr<AppendFile>& out) {
  NativePath native;
  UniqueFd fd;
  Error error = FindNative(path, native);
  if (error.Ok()) error = OpenPlainFile(native, O_WRONLY | O_CREAT | O_APPEND, fd);
  out = fd ? MakeAppendFile(std::move(fd)) : nullptr;
  return error;
}

Error PosixFiles::Write(TextView path, std::string_view bytes) {
  NativePath native;
  UniqueFd fd;
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  if (const Error error = OpenPlainFile(native, O_WRONLY | O_CREAT | O_TRUNC, fd); error.Failed()) return error;
  if (!WriteAll(fd.Get(), bytes) || fsync(fd.Get()) != 0) return ErrorOf(errno);
  FlushFolder(NativeFolderOf(native.path));
  return kSuccess;
}

Error PosixFiles::Flush(TextView path) {
  NativePath native;
  UniqueFd fd;
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  if (const Error error = OpenPlainFile(native, O_WRONLY, fd); error.Failed()) return error;
  if (fsync(fd.Get()) != 0) return ErrorOf(errno);
  FlushFolder(NativeFolderOf(native.path));
  return kSuccess;
}

Error PosixFiles::Rename(TextView from, TextView to) {
  NativePath source;
  NativePath target;
  if (const Error error = FindNative(from, source); error.Failed()) return error;
  if (const Error error = FindNative(to, target); error.Failed()) return error;
  struct statx status {};
  if (!Look(AT_FDCWD, source.path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return LookupError(errno, source.path);
  // The target found may be the source itself, when only the case of its name is to change.
  const bool sameFile = target.path == source.path;
  if (!sameFile && Look(AT_FDCWD, target.path.c_str(), AT_SYMLINK_NOFOLLOW, status) &&
      (IsFolder(status) || IsReadOnly(status))) {
    return SystemError::kAccessDenied;
  }
  const std::string& name = sameFile ? target.asked : target.path;
  return rename(source.path.c_str(), name.c_str()) == 0 ? kSuccess : OfFolder(LookupError(errno, target.path));
}

Error PosixFiles::Delete(TextView path) {
  NativePath native;
  struct statx status {};
  if (const Error error = FindAndLook(path, native, status); error.Failed()) return error;
  if (IsFolder(status) || IsReadOnly(status)) return SystemError::kAccessDenied;
  return unlink(native.path.c_str()) == 0 ? kSuccess : LookupError(errno, native.path);
}

Error PosixFiles::RemoveDir(TextView path) {
  NativePath native;
  struct statx status {};
  if (const Error error = FindAndLook(path, native, status); error.Failed()) return error;
  if (!IsFolder(status)) return SystemError::kNotADirectory;
  return rmdir(native.path.c_str()) == 0 ? kSuccess : LookupError(errno, native.path);
}

Error PosixFiles::CreateDir(TextView path) {
  NativePath native;
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  return mkdir(native.path.c_str(), kNewFolderMode) == 0 ? kSuccess : OfFolder(LookupError(errno, native.path));
}

Error PosixFiles::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return SystemError::kNameTooLong;
  if (path.starts_with(u"\\\\?\\")) return SystemError::kInvalidName;
  for (std::size_t end = path.find(u'\\'); end != TextView::npos; end = path.find(u'\\', end + 1)) {
    const TextView folder = path.substr(0, end + 1);
    FileInfo info;
    if (Info(folder, info).Ok()) continue;
    if (const Error error = CreateDir(folder); error.Failed()) return error;
  }
  return kSuccess;
}

// The order in which NTFS keeps a folder: the same rule files are tested in the same order on every build.
bool NamedBefore(const DirEntry& a, const DirEntry& b) {
  const int order = CompareFolded(a.name, b.name);
  return order != 0 ? order < 0 : a.name < b.name;
}

// Passed over is a name that no Windows-style path can carry, and what has gone meanwhile.
Error ReadEntries(DIR* dir, std::vector<DirEntry>& out) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(dir);
    if (entry == nullptr) return Outcome(errno == 0);
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    auto text = TextOfNative(name);
    struct statx status {};
    if (!text || !Look(dirfd(dir), entry->d_name, AT_SYMLINK_NOFOLLOW, status)) continue;
    out.push_back({std::move(*text), EntryInfo(dirfd(dir), entry->d_name, status), StampOf(status)});
    out.back().stamp.volume = 0;
  }
}

Error PosixFiles::List(TextView folder, std::vector<DirEntry>& out) {
  NativePath native;
  if (const Error error = FindNative(folder, native); error.Failed()) return error;
  // A folder's descriptor closes with its DIR.
  const int fd = open(native.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return errno == ENOTDIR ? ErrorOf(errno) : OfFolder(LookupError(errno, native.path));
  const std::unique_ptr<DIR, int (*)(DIR*)> dir(fdopendir(fd), closedir);
  if (!dir) return ErrorOf(errno);
  const auto before = static_cast<std::ptrdiff_t>(out.size());
  const Error error = ReadEntries(dir.get(), out);
  std::sort(out.begin() + before, out.end(), NamedBefore);
  return error;
}

Error PosixFiles::FolderIdentity(TextView folder, FileStamp& out) {
  NativePath native;
  if (const Error error = FindNative(folder, native); error.Failed()) return error;
  struct statx status {};
  if (!Look(AT_FDCWD, native.path.c_str(), 0, status)) return OfFolder(LookupError(errno, native.path));
  if (!IsFolder(status)) return SystemError::kNotADirectory;
  const FileStamp stamp = StampOf(status);
  out = {.volume = stamp.volume, .index = stamp.index};
  return kSuccess;
}

Error PosixFiles::LongPathName(TextView path, Text& out) {
  NativePath native;
  struct statx status {};
  if (const Error error = FindAndLook(path, native, status); error.Failed()) return error;
  auto text = WindowsPathOf(native.path);
  if (!text) return SystemError::kInvalidName;
  out = std::move(*text);
  if (native.trailing && !out.ends_with(u'\\')) out += u'\\';
  return kSuccess;
}

Error PosixFiles::Version(TextView path, FileVersion& /*out*/) {
  FileInfo info;
  const Error error = Info(path, info);
  return error.Failed() ? error : SystemError::kNoVersion;
}

Error PosixFiles::FileSystemName(TextView root, Text& out) {
  NativePath native;
  if (const Error error = FindNative(root, native); error.Failed()) return error;
  struct statfs status {};
  if (statfs(native.path.c_str(), &status) != 0) return OfFolder(LookupError(errno, native.path));
  out = NameOfFileSystem(static_cast<std::uint32_t>(status.f_type));
  return kSuccess;
}

Error PosixFiles::SetCurrentDir(TextView path) {
  NativePath native;
  if (const Error error = FindNative(path, native); error.Failed()) return error;
  if (chdir(native.path.c_str()) == 0) return kSuccess;
  return errno == ENOTDIR ? ErrorOf(errno) : LookupError(errno, native.path);
}

Error PosixFiles::TempFolder(Text& out) {
  const char* const set = getenv("TMPDIR");
  const auto text = WindowsPathOf(set != nullptr && *set == '/' ? set : "/tmp");
  if (!text) return SystemError::kInvalidName;
  out = *text;
  if (!out.ends_with(u'\\')) out += u'\\';
  return kSuccess;
}

}  // namespace

Files& SystemFiles() {
  static PosixFiles files;
  return files;
}

}  // namespace ovs::os
