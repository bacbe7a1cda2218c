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
#include "os/PendingError.h"
#include "os/WindowsPath.h"
#include "os/posix/PosixErrors.h"
#include "os/posix/PosixFileInfo.h"
#include "os/posix/PosixFileSystems.h"
#include "os/posix/PosixOpenFile.h"
#include "os/posix/PosixPath.h"

namespace ovs::os {

namespace {

using namespace ovs::posix;

constexpr mode_t kNewFolderMode = 0777;
constexpr std::size_t kPlainPathLimit = 248;
constexpr std::uint32_t kNoResourceData = 1812;

std::string FolderOf(const std::string& path) { return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1)); }

bool FailLookup(int error, const NativePath& path) { return Fail(LookupError(error, path.path)); }

// A missing last name counts as a missing path too, for calls whose path is the folder itself.
bool FailFolder(std::uint32_t number) {
  return Fail(number == SystemErrorNumber::kFileNotFound ? SystemErrorNumber::kPathNotFound : number);
}

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
  bool Info(TextView path, FileInfo& out) override;
  std::unique_ptr<ReadFile> OpenRead(TextView path) override;
  std::unique_ptr<AppendFile> OpenAppend(TextView path) override;
  bool Write(TextView path, std::string_view bytes) override;
  bool Rename(TextView from, TextView to) override;
  bool Delete(TextView path) override;
  bool RemoveDir(TextView path) override;
  bool CreateDir(TextView path) override;
  bool MakeSureDirectoryPathExists(TextView path) override;
  bool List(TextView folder, std::vector<DirEntry>& out) override;
  bool LongPathName(TextView path, Text& out) override;
  bool Version(TextView path, FileVersion& out) override;
  bool FileSystemName(TextView root, Text& out) override;
  bool SetCurrentDir(TextView path) override;
  bool TempFolder(Text& out) override;
};

bool PosixFiles::Info(TextView path, FileInfo& out) {
  const auto native = FindNative(path);
  if (!native) return false;
  struct statx status {};
  if (!Look(AT_FDCWD, native->path.c_str(), 0, status)) return FailLookup(errno, *native);
  if (native->trailing && !IsFolder(status)) return Fail(SystemErrorNumber::kInvalidName);
  out = InfoOf(status);
  return true;
}

std::unique_ptr<ReadFile> PosixFiles::OpenRead(TextView path) {
  const auto native = FindNative(path);
  if (!native) return nullptr;
  UniqueFd fd = OpenPlainFile(*native, O_RDONLY);
  return fd ? MakeReadFile(std::move(fd)) : nullptr;
}

std::unique_ptr<AppendFile> PosixFiles::OpenAppend(TextView path) {
  const auto native = FindNative(path);
  if (!native) return nullptr;
  UniqueFd fd = OpenPlainFile(*native, O_WRONLY | O_CREAT | O_APPEND);
  return fd ? MakeAppendFile(std::move(fd)) : nullptr;
}

bool PosixFiles::Write(TextView path, std::string_view bytes) {
  const auto native = FindNative(path);
  if (!native) return false;
  const UniqueFd fd = OpenPlainFile(*native, O_WRONLY | O_CREAT | O_TRUNC);
  if (!fd) return false;
  if (!WriteAll(fd.Get(), bytes) || fsync(fd.Get()) != 0) return FailErrno(errno);
  FlushFolder(FolderOf(native->path));
  return true;
}

bool PosixFiles::Rename(TextView from, TextView to) {
  const auto source = FindNative(from);
  if (!source) return false;
  const auto target = FindNative(to);
  if (!target) return false;
  struct statx status {};
  if (!Look(AT_FDCWD, source->path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return FailLookup(errno, *source);
  // The target found may be the source itself, when only the case of its name is to change.
  const bool sameFile = target->path == source->path;
  if (!sameFile && Look(AT_FDCWD, target->path.c_str(), AT_SYMLINK_NOFOLLOW, status) &&
      (IsFolder(status) || IsReadOnly(status))) {
    return Fail(SystemErrorNumber::kAccessDenied);
  }
  const std::string& name = sameFile ? target->asked : target->path;
  return rename(source->path.c_str(), name.c_str()) == 0 || FailFolder(LookupError(errno, target->path));
}

bool PosixFiles::Delete(TextView path) {
  const auto native = FindNative(path);
  if (!native) return false;
  struct statx status {};
  if (!Look(AT_FDCWD, native->path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return FailLookup(errno, *native);
  if (IsFolder(status) || IsReadOnly(status)) return Fail(SystemErrorNumber::kAccessDenied);
  return unlink(native->path.c_str()) == 0 || FailLookup(errno, *native);
}

bool PosixFiles::RemoveDir(TextView path) {
  const auto native = FindNative(path);
  if (!native) return false;
  struct statx status {};
  if (!Look(AT_FDCWD, native->path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return FailLookup(errno, *native);
  if (!IsFolder(status)) return Fail(SystemErrorNumber::kNotADirectory);
  return rmdir(native->path.c_str()) == 0 || FailLookup(errno, *native);
}

bool PosixFiles::CreateDir(TextView path) {
  const auto native = FindNative(path);
  if (!native) return false;
  return mkdir(native->path.c_str(), kNewFolderMode) == 0 || FailFolder(LookupError(errno, native->path));
}

bool PosixFiles::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return Fail(SystemErrorNumber::kNameTooLong);
  if (path.starts_with(u"\\\\?\\")) return Fail(SystemErrorNumber::kInvalidName);
  for (std::size_t end = path.find(u'\\'); end != TextView::npos; end = path.find(u'\\', end + 1)) {
    const TextView folder = path.substr(0, end + 1);
    FileInfo info;
    if (Info(folder, info)) continue;
    if (!CreateDir(folder)) return false;
  }
  return true;
}

// The order in which NTFS keeps a folder: the same rule files are tested in the same order on every build.
bool NamedBefore(const DirEntry& a, const DirEntry& b) {
  const int order = CompareFolded(a.name, b.name);
  return order != 0 ? order < 0 : a.name < b.name;
}

bool ReadEntries(DIR* dir, std::vector<DirEntry>& out) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(dir);
    if (entry == nullptr) return errno == 0 || FailErrno(errno);
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    auto text = TextOfNative(name);
    struct statx status {};
    if (!text) {
      Fail(SystemErrorNumber::kInvalidName);
    } else if (Look(dirfd(dir), entry->d_name, AT_SYMLINK_NOFOLLOW, status)) {  // else it has gone meanwhile
      out.push_back({std::move(*text), EntryInfo(dirfd(dir), entry->d_name, status), StampOf(status)});
      out.back().stamp.volume = 0;
    }
  }
}

bool PosixFiles::List(TextView folder, std::vector<DirEntry>& out) {
  const auto native = FindNative(folder);
  if (!native) return false;
  // A folder's descriptor closes with its DIR.
  const int fd = open(native->path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return errno == ENOTDIR ? FailErrno(errno) : FailFolder(LookupError(errno, native->path));
  const std::unique_ptr<DIR, int (*)(DIR*)> dir(fdopendir(fd), closedir);
  if (!dir) return FailErrno(errno);
  const auto before = static_cast<std::ptrdiff_t>(out.size());
  const bool complete = ReadEntries(dir.get(), out);
  std::sort(out.begin() + before, out.end(), NamedBefore);
  return complete;
}

bool PosixFiles::LongPathName(TextView path, Text& out) {
  const auto native = FindNative(path);
  if (!native) return false;
  struct statx status {};
  if (!Look(AT_FDCWD, native->path.c_str(), AT_SYMLINK_NOFOLLOW, status)) return FailLookup(errno, *native);
  auto text = WindowsPathOf(native->path);
  if (!text) return Fail(SystemErrorNumber::kInvalidName);
  out = std::move(*text);
  if (native->trailing && !out.ends_with(u'\\')) out += u'\\';
  return true;
}

bool PosixFiles::Version(TextView path, FileVersion& /*out*/) {
  FileInfo info;
  if (!Info(path, info)) return false;
  return Fail(kNoResourceData);
}

bool PosixFiles::FileSystemName(TextView root, Text& out) {
  const auto native = FindNative(root);
  if (!native) return false;
  struct statfs status {};
  if (statfs(native->path.c_str(), &status) != 0) return FailFolder(LookupError(errno, native->path));
  out = NameOfFileSystem(static_cast<std::uint32_t>(status.f_type));
  return true;
}

bool PosixFiles::SetCurrentDir(TextView path) {
  const auto native = FindNative(path);
  if (!native) return false;
  if (chdir(native->path.c_str()) == 0) return true;
  return errno == ENOTDIR ? FailErrno(errno) : FailLookup(errno, *native);
}

bool PosixFiles::TempFolder(Text& out) {
  const char* const set = getenv("TMPDIR");
  const auto text = WindowsPathOf(set != nullptr && *set == '/' ? set : "/tmp");
  if (!text) return Fail(SystemErrorNumber::kInvalidName);
  out = *text;
  if (!out.ends_with(u'\\')) out += u'\\';
  return true;
}

}  // namespace

Files& SystemFiles() {
  static PosixFiles files;
  return files;
}

}  // namespace ovs::os
